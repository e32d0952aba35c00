"""What mirroring costs and how late it is, beside ffmpeg on a display of its own in the same run."""
import contextlib
import json
import pathlib
import socket
import statistics
import struct
import subprocess
import threading
import time

LONG_SIDE, FPS, BIT_RATE = 1280, 15, 6_000_000
FRAME_MS = 1000 / FPS
SCENES = {"scrolling": "scrolling text", "typing": "a letter ten times a second", "still": "standing still"}
COST_GOALS = {"scrolling": 0.6, "typing": 0.2, "still": 0.02}
SIZES = ((1280, 720), (1920, 1080), (2560, 1440), (3840, 2160))
RATES = (5, 10, 15, 30)
HELLO, FRAME_HEADER = b"\x10", struct.Struct(">I")


def processor_seconds(pid):
    """What all threads of a process have used so far."""
    total = 0
    for entry in pathlib.Path(f"/proc/{pid}/task").glob("*/schedstat"):
        with contextlib.suppress(FileNotFoundError):
            total += int(entry.read_text().split()[0])
    return total / 1e9


def used_meanwhile(pids, seconds):
    """Processor seconds per second of all `pids` together, from now on."""
    before, began = sum(map(processor_seconds, pids)), time.perf_counter()
    time.sleep(seconds)
    return (sum(map(processor_seconds, pids)) - before) / (time.perf_counter() - began)


@contextlib.contextmanager
def running(command, **options):
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL, **options)
    try:
        yield process
    finally:
        process.kill()
        process.wait()


@contextlib.contextmanager
def scene_on(display, tool, scene):
    with running([tool, "draw", "--display", display.name, "--scene", scene], stdout=subprocess.PIPE) as process:
        process.stdout.readline()
        yield process


class Watcher:
    """A phone that takes the stream and looks at nothing."""

    def __init__(self, port, token):
        self.bytes = 0
        self.connection = socket.create_connection(("127.0.0.1", port), timeout=10)
        hello = HELLO + json.dumps({"token": token, "width": 1280, "height": 720, "prefersLowBandwidth": False}).encode()
        self.connection.sendall(FRAME_HEADER.pack(len(hello)) + hello)
        self.thread = threading.Thread(target=self.run)
        self.thread.start()

    def run(self):
        with contextlib.suppress(OSError):
            while data := self.connection.recv(1 << 16):
                self.bytes += len(data)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.connection.shutdown(socket.SHUT_RDWR)
        self.thread.join()
        self.connection.close()


def ffmpeg_command(display):
    return ["ffmpeg", "-nostdin", "-y", "-loglevel", "error", "-f", "x11grab", "-framerate", str(FPS), "-video_size",
            f"{display.width}x{display.height}", "-i", display.name, "-vf", f"scale={LONG_SIDE}:-2", "-pix_fmt", "yuv420p",
            "-c:v", "libx264", "-preset", "superfast", "-tune", "zerolatency", "-profile:v", "main", "-threads", "1",
            "-b:v", str(BIT_RATE), "-maxrate", str(BIT_RATE), "-bufsize", str(BIT_RATE // 2), "-g", str(4 * FPS),
            "-f", "h264", "/dev/null"]


def cost_of_companion(display, companion, seconds, settle):
    with Watcher(companion.screen_port, companion.token) as watcher:
        time.sleep(settle)
        before = watcher.bytes
        used = used_meanwhile([companion.process.pid, display.server.pid], seconds)
        return used, (watcher.bytes - before) * 8 / seconds


def cost_of_ffmpeg(display, seconds, settle):
    with running(ffmpeg_command(display)) as process:
        time.sleep(settle)
        return used_meanwhile([process.pid, display.server.pid], seconds)


def median(values):
    return {name: statistics.median(row[name] for row in values) for name in values[0]}


def cost_turn(tool, ours, theirs, companion, scene, seconds, settle):
    """Drawing alone, mirroring, ffmpeg: one after the other, as both at once would slow each other down. What drawing
    costs the X server is the same with and without mirroring, and left out."""
    turn = {}
    with scene_on(ours, tool, scene):
        time.sleep(0.3)
        turn["drawing"] = used_meanwhile([ours.server.pid], seconds / 2)
        turn["companion"], turn["bitsPerSecond"] = cost_of_companion(ours, companion, seconds, settle)
    with scene_on(theirs, tool, scene):
        turn["ffmpeg"] = cost_of_ffmpeg(theirs, seconds, settle)
    return turn | {name: max(0, turn[name] - turn["drawing"]) for name in ("companion", "ffmpeg")}


def measure_costs(tool, ours, theirs, companion, rounds=5, seconds=3.0, settle=1.2):
    return {scene: median([cost_turn(tool, ours, theirs, companion, scene, seconds, settle) for _ in range(rounds)])
            for scene in SCENES}


def tool_output(command):
    return json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def percentile(values, part):
    return sorted(values)[int(part * (len(values) - 1))]


def delay_turn(tool, display, companion, scene, changes, pause):
    """From a drawn change to its decoded picture, and what encoding takes of it, one right after the other."""
    with scene_on(display, tool, scene):
        delays = tool_output([tool, "delay", "--display", display.name, "--port", str(companion.screen_port), "--token",
                              companion.token, "--changes", str(changes), "--pause", str(pause)])["delaysMs"]
    with scene_on(display, tool, "typing" if scene == "still" else scene):
        encoding = tool_output([tool, "pipeline", "--display", display.name, "--seconds", "3"])["encodingMs"]
    return {name + suffix: percentile(values, part) for name, values in (("delayMs", delays), ("encodeMs", encoding))
            for suffix, part in (("P50", 0.5), ("P95", 0.95))}


def measure_delay(tool, display, companion, scene, changes, pause, rounds=5):
    return median([delay_turn(tool, display, companion, scene, changes, pause) for _ in range(rounds)])


def measure_sizes(tool, make_display, seconds=3.0):
    """Processor seconds per second of scrolling, capture, encoder and X server together, without the drawing; and
    ffmpeg's."""
    rows = []
    for width, height in SIZES:
        with make_display(width, height) as display, scene_on(display, tool, "scrolling"):
            drawing = used_meanwhile([display.server.pid], 1)
            rows.append({"width": width, "height": height, "cost": {}})
            for fps in RATES:
                with subprocess.Popen([tool, "pipeline", "--display", display.name, "--fps", str(fps), "--seconds",
                                       str(seconds)], stdout=subprocess.DEVNULL) as process:
                    time.sleep(1)
                    used = used_meanwhile([process.pid, display.server.pid], seconds - 0.3)
                rows[-1]["cost"][str(fps)] = max(0, used - drawing)
            rows[-1]["ffmpeg"] = max(0, cost_of_ffmpeg(display, seconds, 1.2) - drawing)
    return rows


def measure_throughput(screen_bench):
    """Bytes per second of packets and frames, and of memcpy, send and recv, in turns."""
    report = tool_output([screen_bench, "--benchmark_format=json", "--benchmark_repetitions=9",
                          "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"])
    return {row["run_name"].split("/min_time")[0]: row["bytes_per_second"]
            for row in report["benchmarks"] if row["aggregate_name"] == "median"}


def measure(bin_folder, make_display, make_companion, say):
    tool, figures = str(bin_folder / "mirror_bench"), {}
    say("frames and packets")
    figures["throughput"] = measure_throughput(str(bin_folder / "screen_bench"))
    with make_display(1920, 1080) as ours, make_display(1920, 1080) as theirs, make_companion(ours.name) as companion:
        say("cost of mirroring, in turns with ffmpeg")
        figures["cost"] = measure_costs(tool, ours, theirs, companion)
        say("delay from drawing to decoded picture")
        figures["delay"] = {"still": measure_delay(tool, ours, companion, "still", 20, 350),
                            "scrolling": measure_delay(tool, ours, companion, "scrolling", 40, 200)}
    say("cost by display size and frame rate")
    figures["sizes"] = measure_sizes(tool, make_display)
    return figures


def cost_rows(figures, verdict):
    for scene, label in SCENES.items():
        ours, theirs = (figures["cost"][scene][name] for name in ("companion", "ffmpeg"))
        ratio = ours / theirs
        yield (f"Processor seconds per second, {label}", f"{ours:.3f}", f"{theirs:.3f} (ffmpeg)", f"{ratio:.2f}",
               f"at most {COST_GOALS[scene]}", verdict(ratio <= COST_GOALS[scene]))


def delay_rows(figures, verdict):
    for scene, label, allowed in (("still", "after rest", 30), ("scrolling", "while text scrolls", FRAME_MS)):
        delay = figures["delay"][scene]
        goal = allowed + delay["encodeMsP95"]
        yield (f"Drawn to decoded, {label}, p50 and p95", f"{delay['delayMsP50']:.1f} ms, {delay['delayMsP95']:.1f} ms",
               f"{delay['encodeMsP50']:.1f} ms, {delay['encodeMsP95']:.1f} ms (encoding)", "",
               f"p95 under {goal:.1f} ms", verdict(delay["delayMsP95"] < goal))


def throughput_rows(figures, verdict):
    rates = figures["throughput"]
    pairs = [("Packets: cut and assemble 1 MB", "cutAndAssembleAFrame", "copyAFrame", "memcpy", 0.25)]
    for size, text in (("50000", "50 kB"), ("1000000", "1 MB")):
        pairs.append((f"Framed connection: send {text}", f"sendFramed/{size}", f"sendPlain/{size}", "send", 0.8))
        pairs.append((f"Framed connection: receive {text}", f"receiveFramed/{size}", f"receivePlain/{size}", "recv", 0.8))
    for label, ours, theirs, rival, goal in pairs:
        ratio = rates[ours] / rates[theirs]
        yield (label, f"{rates[ours] / 1e9:.1f} GB/s", f"{rates[theirs] / 1e9:.1f} GB/s ({rival})", f"{ratio:.2f}",
               f"at least {goal}", verdict(ratio >= goal))


def table(figures, verdict):
    rows = [*cost_rows(figures, verdict), *delay_rows(figures, verdict), *throughput_rows(figures, verdict)]
    head = ["| Measured | Companion | Rival, same run | Ratio | Goal | |", "|---|---|---|---|---|---|"]
    sizes = ["", f"Processor seconds per second of scrolling text, by display and frame rate ({LONG_SIDE} pixels on the long",
             "side, 6 Mbit/s):", "",
             "| Display | " + " | ".join(f"{fps} fps" for fps in RATES) + f" | ffmpeg, {FPS} fps | Ratio at {FPS} fps |",
             "|---" * (3 + len(RATES)) + "|"]
    for row in figures["sizes"]:
        cells = [f"{row['width']}×{row['height']}", *(f"{row['cost'][str(fps)]:.3f}" for fps in RATES),
                 f"{row['ffmpeg']:.3f}", f"{row['cost'][str(FPS)] / row['ffmpeg']:.2f}"]
        sizes.append("| " + " | ".join(cells) + " |")
    return "\n".join([*head, *("| " + " | ".join(row) + " |" for row in rows), *sizes])
