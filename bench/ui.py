"""How soon the companion's windows are there, beside empty Qt Quick windows in the same run; what it costs while they
are closed."""
import contextlib
import json
import os
import pathlib
import subprocess
import tempfile

FRAME_MS = 1000 / 60
BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={path}</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


@contextlib.contextmanager
def session(display):
    """The environment of a desktop session with settings of its own: a bus on which nobody is and nothing is started,
    no system bus, no sound."""
    with tempfile.TemporaryDirectory(prefix="tevanto-bench-") as folder:
        config = pathlib.Path(folder) / "bus.conf"
        config.write_text(BUS.format(path=f"{folder}/bus"))
        bus = subprocess.Popen(["dbus-daemon", f"--config-file={config}", "--nofork", "--print-address"],
                               stdout=subprocess.PIPE, text=True)
        try:
            address = bus.stdout.readline().strip()
            environment = {name: value for name, value in os.environ.items()
                           if name != "WAYLAND_DISPLAY" and not name.startswith(("QT_", "QML_", "QSG_"))}
            yield environment | {
                "DISPLAY": display, "HOME": folder, "XDG_CONFIG_HOME": f"{folder}/config", "XDG_RUNTIME_DIR": folder,
                "DBUS_SESSION_BUS_ADDRESS": address, "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={folder}/no-bus",
                "PULSE_SERVER": f"unix:{folder}/no-pulse", "XDG_CACHE_HOME": f"{folder}/cache"}
        finally:
            bus.terminate()
            bus.wait()


def bench(programs, environment, *arguments):
    output = subprocess.run([programs / "ui_bench", programs / "tevanto", *arguments], env=environment, check=True,
                            stdout=subprocess.PIPE, text=True).stdout
    return json.loads(output)


def measure(programs, display_class, say):
    with display_class() as display, session(display.name) as environment:
        # Caches of fonts and the like are filled by the first start, which nobody measures.
        bench(programs, environment, "--rounds", "1")
        say("ui: starts with the guide, in turns with an empty window")
        guide = bench(programs, environment, "--rounds", "15")
        subprocess.run([programs / "tevanto", "defaults", "set", "hasCompletedMacFirstRunGuide", "true", "--type",
                        "bool"], env=environment, check=True, stdout=subprocess.DEVNULL)
        say("ui: starts with the panel's content, then the panel, in turns with empty windows; then idle")
        panel = bench(programs, environment, "--rounds", "15", "--panel-rounds", "5", "--idle", "20")
    return {"guide": guide, "panel": panel}


def row(label, ours, empty, compared, goal, verdict):
    return label, f"{ours:.1f} ms", f"{empty:.1f} ms", compared, goal, verdict


def start_row(label, figures, verdict):
    ours, empty = figures["firstFrameMs"], figures["emptyFirstFrameMs"]
    return row(label, ours, empty, f"{ours / empty:.2f}", "at most 2 times", verdict(ours / empty <= 2))


def opening_row(label, ours, empty, verdict):
    more = ours - empty
    return row(label, ours, empty, f"+{more:.1f} ms", "under 2 frames more", verdict(more < 2 * FRAME_MS))


def table(figures, verdict):
    panel = figures["panel"]
    rows = [
        start_row("Exec to the first frame, as at most starts", panel, verdict),
        start_row("the same with the first-run guide", figures["guide"], verdict),
        opening_row("Click on the icon to the panel's first frame, the first time", panel["panelFirstMs"],
                    panel["emptyPanelFirstMs"], verdict),
        opening_row("the same, later", panel["panelMs"], panel["emptyPanelMs"], verdict),
        ("Idle, windows closed: wake-ups", f"{panel['idleWakeUpsPerSecond']:.2f}/s", "", "", "no more than 1/s",
         verdict(panel["idleWakeUpsPerSecond"] <= 1)),
        ("Idle, windows closed: resident memory", f"{panel['residentMB']:.0f} MB", "", "", "under 90 MB",
         verdict(panel["residentMB"] < 90)),
    ]
    head = ("| Measured | Companion | Empty window, same run | Beside it | Goal | |", "|---|---|---|---|---|---|")
    return "\n".join(head + tuple("| " + " | ".join(each) + " |" for each in rows))
