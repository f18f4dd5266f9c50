"""Does what the host asks, over a virtio port and so also while the network is cut. Both ways one JSON object a line.

The host sends {"id", "verb", ...} and is answered with {"id", ...}:
  hora                      ns: this machine's monotonic clock
  orden   script, seconds   a shell script to its end: rc, out, err, or rc 124 when it takes too long (it runs on then)
  empieza script            a shell script that is talked with: {"line"} for each line it says, {"rc"} at its end
  dile    to, text          text for the standard input of the script that was begun with that id
  mata    to                its whole process group dies at once
"""
import glob
import json
import os
import signal
import subprocess
import threading
import time

ENVIRONMENT = dict(PATH="/usr/sbin:/usr/bin:/sbin:/bin", HOME="/tmp", LANG="C.UTF-8")


def open_port():
    while True:
        for port in glob.glob("/sys/class/virtio-ports/*"):
            with open(port + "/name") as name:
                if name.read().strip() == "ordenes":
                    return os.open("/dev/" + os.path.basename(port), os.O_RDWR)
        time.sleep(0.1)


class Agent:
    def __init__(self):
        self.port = open_port()
        self.sending = threading.Lock()
        self.begun = {}

    def say(self, number, **answer):
        data = json.dumps(dict(answer, id=number)).encode() + b"\n"
        with self.sending:
            while data:
                try:
                    data = data[os.write(self.port, data):]
                except OSError:  # nobody listens at the other end
                    time.sleep(0.05)

    def start(self, script, **streams):
        return subprocess.Popen(["sh", "-c", script], env=ENVIRONMENT, start_new_session=True, stdout=subprocess.PIPE, **streams)

    def run(self, order):
        process = self.start(order["script"], stdin=subprocess.DEVNULL, stderr=subprocess.PIPE)
        try:
            out, err = process.communicate(timeout=order["seconds"])
            self.say(order["id"], rc=process.returncode, out=out.decode(errors="replace"), err=err.decode(errors="replace"))
        except subprocess.TimeoutExpired:
            self.say(order["id"], rc=124, out="", err=f"no end after {order['seconds']} s")

    def begin(self, order):
        number = order["id"]
        process = self.begun[number] = self.start(order["script"], stdin=subprocess.PIPE, stderr=subprocess.STDOUT)
        threading.Thread(target=self.listen, args=(number, process), daemon=True).start()

    def listen(self, number, process):
        for line in process.stdout:
            self.say(number, line=line.decode(errors="replace").rstrip("\n"))
        self.say(number, rc=process.wait())

    def tell(self, order):
        try:
            pipe = self.begun[order["to"]].stdin
            pipe.write(order["text"].encode())
            pipe.flush()
        except OSError:
            pass  # it has ended, and has said so

    def obey(self, order):
        verb = order["verb"]
        if verb == "hora":
            self.say(order["id"], ns=time.monotonic_ns())
        elif verb == "orden":
            threading.Thread(target=self.run, args=(order,), daemon=True).start()
        elif verb == "empieza":
            self.begin(order)
        elif verb == "dile":
            self.tell(order)
        elif verb == "mata":
            try:
                os.killpg(self.begun[order["to"]].pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def serve(self):
        rest = b""
        while True:
            try:
                got = os.read(self.port, 65536)
            except OSError:
                got = b""
            if not got:
                time.sleep(0.05)
                continue
            *lines, rest = (rest + got).split(b"\n")
            for line in lines:
                try:
                    order = json.loads(line)
                except ValueError:  # half a line of a connection that broke
                    continue
                self.obey(order)


Agent().serve()
