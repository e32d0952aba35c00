"""Shells at a terminal, in which the tabulator is pressed, as people do."""
import itertools
import os
import pty
import signal
import tempfile
import threading
import time

PATIENCE = 60  # seconds that a key press may take; a machine under load
TAKE_LINE = b"\x18\x10"  # control-X control-P: the shell writes its line into a file
CLEAR_LINE = b"\x15"  # control-U

BASH = """
PS1='> '
HISTFILE=
bind 'set enable-bracketed-paste off'
bind 'set bell-style none'
source {completion}
take() {{ printf '%s' "$READLINE_LINE" >{out}.new && mv {out}.new {out}; }}
bind -x '"\\C-x\\C-p": take'
"""

ZSH = """
PS1='> '
HISTFILE=
fpath=({folder} $fpath)
zstyle ':completion:*' menu no
unsetopt auto_menu beep
autoload -Uz compinit && compinit -u -D
take() {{ print -rn -- "$BUFFER" >{out}.new && mv {out}.new {out} }}
zle -N take
bindkey -e
bindkey '^X^P' take
bindkey '^U' kill-whole-line
"""


class Terminal:
    """A shell in a terminal of its own. Ends with the `with`."""

    def __init__(self, shell, completion, environment):
        self._folder = tempfile.TemporaryDirectory(prefix="tevanto-shell-")
        self._out = os.path.join(self._folder.name, "line")
        commands = {"bash": ["bash", "--noprofile", "--rcfile", self._rc(BASH, completion, "rc"), "-i"],
                    "zsh": ["zsh", "-d", "-i"]}
        self._rc(ZSH, completion, ".zshrc")
        environment = {**environment, "TERM": "dumb" if shell == "bash" else "vt100", "ZDOTDIR": self._folder.name,
                       "HOME": self._folder.name}
        self._pid, self._terminal = pty.fork()
        if self._pid == 0:
            os.execvpe(shell, commands[shell], environment)
        self._output = bytearray()
        self._reader = threading.Thread(target=self._read)
        self._reader.start()
        self._wait_for_start()

    def _rc(self, template, completion, name):
        path = os.path.join(self._folder.name, name)
        with open(path, "w", encoding="utf-8") as file:
            file.write(template.format(completion=completion, folder=os.path.dirname(completion), out=self._out))
        return path

    def _read(self):
        try:
            while data := os.read(self._terminal, 65536):
                self._output += data
        except OSError:
            pass  # the shell has ended

    def _wait_for_start(self):
        """Returns when the shell has answered to all that was typed. One that is still starting throws away what was typed
        before, so that it is asked again and again, each time with another line: the answer to the last one is the last."""
        deadline = time.monotonic() + PATIENCE
        for number in itertools.count():
            line = f"started {number}"
            os.write(self._terminal, CLEAR_LINE + line.encode() + TAKE_LINE)
            again = time.monotonic() + 1
            while time.monotonic() < min(again, deadline):
                if self._taken() == line:
                    return
                time.sleep(0.002)
            if time.monotonic() >= deadline:
                raise TimeoutError(f"the shell does not start; it wrote: {bytes(self._output[-2000:])!r}")

    def complete(self, line):
        """What the line has become after one press of the tabulator."""
        deadline = time.monotonic() + PATIENCE
        os.write(self._terminal, CLEAR_LINE + line.encode() + b"\t" + TAKE_LINE)
        while (taken := self._taken()) is None:
            if time.monotonic() > deadline:
                raise TimeoutError(f"the shell did not answer to {line!r}; it wrote: {bytes(self._output[-2000:])!r}")
            time.sleep(0.002)
        return taken

    def _taken(self):
        """The line that the shell took since the last call, if it took one."""
        try:
            with open(self._out, encoding="utf-8") as file:
                taken = file.read()
        except FileNotFoundError:
            return None
        os.unlink(self._out)
        return taken

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        # An interactive shell ignores the polite request.
        os.kill(self._pid, signal.SIGKILL)
        os.waitpid(self._pid, 0)
        self._reader.join()
        os.close(self._terminal)
        self._folder.cleanup()
