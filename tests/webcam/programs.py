"""Programs under Wine, and what a test found wrong."""
import os
import subprocess

problems = []


def check(good, what):
    print(("ok: " if good else "WRONG: ") + what, flush=True)
    if not good:
        problems.append(what)
    return good


def finish():
    print(f"{len(problems)} wrong")
    return 1 if problems else 0


class Programs:
    """Those of a build, run by scripts/host.sh or host32.sh in a folder to work in; 77 ends the test as theirs does."""

    def __init__(self, run, binaries, folder, **environment):
        self.run, self.binaries, self.folder = run, binaries, folder
        self.environment = {**os.environ, **environment}

    def start(self, program, *arguments, **environment):
        return subprocess.Popen([str(self.run), str(self.binaries / program), *arguments], cwd=self.folder,
                                env={**self.environment, **environment}, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, errors="replace")

    def end(self, process, seconds=120):
        try:
            output = process.communicate(timeout=seconds)[0]
        except subprocess.TimeoutExpired:
            process.kill()
            return f"not ended after {seconds} s", None
        if process.returncode == 77:
            raise SystemExit(77)
        return output, process.returncode

    def call(self, program, *arguments, **environment):
        return self.end(self.start(program, *arguments, **environment))

    def camctl(self, *arguments, **environment):
        return self.call("camctl.exe", *arguments, **environment)
