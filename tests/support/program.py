"""The server as a process: started, called, listened to and ended."""
import os
import pathlib
import re
import resource
import signal
import socket
import subprocess
import threading
import time
import xmlrpc.client

from support.waiting import SLOWNESS, wait_until

PORT = 20738
URL = f"http://127.0.0.1:{PORT}/RPC2"
BINARY = os.environ.get("TESSAREL") or str(pathlib.Path(__file__).resolve().parents[2] / "build/release/src/tessarel")
socket.setdefaulttimeout(30 * SLOWNESS)            # a call that hangs is a failure, not a pause
COMPLAINTS = re.compile(r"Sanitizer|runtime error:|Assertion|terminate called|^X Error|freeglut.*ERROR")


def be_as_on_a_desktop():
    """So many descriptors, where some test machines give a thousand times as many, and Ctrl-C not ignored, as in the background."""
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    resource.setrlimit(resource.RLIMIT_NOFILE, (1024, resource.getrlimit(resource.RLIMIT_NOFILE)[1]))


class Lines:
    """The lines of a stream as they come."""

    def __init__(self, stream):
        self.lines = []
        self.thread = threading.Thread(target=self._read, args=(stream,), daemon=True)
        self.thread.start()

    def _read(self, stream):
        for line in stream:
            self.lines.append(line.rstrip("\n"))
        stream.close()

    def __len__(self):
        return len(self.lines)

    def since(self, mark):
        return self.lines[mark:]

    def matching(self, pattern, since=0):
        return [match for match in (re.search(pattern, line) for line in self.lines[since:]) if match]

    def wait_for(self, pattern, since=0, count=1, seconds=10.0):
        """Returns the last of the first count matches."""
        return wait_until(lambda: self.matching(pattern, since)[count - 1:count], f"{count} of {pattern!r}", seconds)[0]


class Client:
    """client.new_vertex() calls tessarel.new_vertex. A connection a call, so that none is kept from other clients."""

    def __getattr__(self, method):
        def call(*arguments):
            with xmlrpc.client.ServerProxy(URL) as server:
                return getattr(server.tessarel, method)(*arguments)
        return call

    @staticmethod
    def together(calls):
        """Makes many calls (method, argument, ...), some hundreds a request, for a request has its limit."""
        answers = []
        with xmlrpc.client.ServerProxy(URL) as server:
            for start in range(0, len(calls), 500):
                several = xmlrpc.client.MultiCall(server)
                for method, *arguments in calls[start:start + 500]:
                    getattr(several.tessarel, method)(*arguments)
                answers += several()
        return answers

    @classmethod
    def existing(cls, kind, ids):
        """Which of the ids the server knows: a question that changes nothing that is looked at."""
        ids = sorted(ids)
        answers = cls.together([(f"set_{kind}_attribute", number, "fontsize", "12") for number in ids])
        return {number for number, answer in zip(ids, answers) if answer == 0}


class Program:
    def __init__(self, display, *arguments, wait=True, heard=True):
        # Rasterising in the calling thread keeps the driver's own threads out of the sanitizers' sight.
        environment = {**os.environ, "DISPLAY": display.name, "LP_NUM_THREADS": "0", "LIBGL_ALWAYS_SOFTWARE": "1"}
        self.display = display
        self.process = subprocess.Popen([BINARY, *arguments], env=environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, errors="replace",
                                        preexec_fn=be_as_on_a_desktop)
        self.output = Lines(self.process.stdout) if heard else None
        self.errors = Lines(self.process.stderr) if heard else None
        self.client = Client()
        if wait:
            self.wait_until_answering()

    def wait_until_answering(self):
        def answers():
            self.must_be_alive()
            try:
                with xmlrpc.client.ServerProxy(URL) as server:
                    return "tessarel.clear" in server.system.listMethods()
            except OSError:
                return False
        wait_until(answers, "the server to answer", 20)
        wait_until(self.display.window_ids, "the window", 20)

    def load(self, seconds=1.0):
        """Cores in use during these seconds, by all threads."""
        def used():
            fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text(encoding="ascii").rpartition(")")[2].split()
            return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
        start, before = time.monotonic(), used()
        time.sleep(seconds)
        return (used() - before) / (time.monotonic() - start)

    def report(self):
        """(camera_dist, autozoom_dist, [eigenvalues]) as the key "~" prints them."""
        mark = len(self.errors)
        self.display.key("asciitilde")
        line = self.errors.wait_for(r"^camera_dist=(\S+)  autozoom_dist=(\S+)  eigenvalues=\[(\S+),(\S+),(\S+)\]$", mark)
        camera, autozoom, *eigenvalues = map(float, line.groups())
        return camera, autozoom, eigenvalues

    def distance(self):
        """Of the two vertices of a graph with no more, from the largest eigenvalue."""
        return 2 * max(self.report()[2][2], 0) ** 0.5

    def alive(self):
        return self.process.poll() is None

    def must_be_alive(self):
        status = self.process.poll()
        assert status is None, "\n".join([f"the program has ended with status {status}", *self.errors.lines[-80:]])

    def wait(self, seconds=10.0):
        """Waits for the end and returns the status; fails if it does not come or the process complained of itself."""
        try:
            status = self.process.wait(seconds * SLOWNESS)
        except subprocess.TimeoutExpired:
            self.kill()
            raise AssertionError(f"the program has not ended within {seconds * SLOWNESS:g} s") from None
        self.output.thread.join()
        self.errors.thread.join()
        lines = self.output.lines + self.errors.lines
        complaint = next((number for number, line in enumerate(lines) if COMPLAINTS.search(line)), None)
        assert complaint is None, "\n".join(lines[complaint:complaint + 60])
        return status

    def terminate(self):
        self.process.send_signal(signal.SIGTERM)
        return self.wait()

    def kill(self):
        self.process.kill()
        self.process.wait()
