"""The machines of the laboratory: a server and its workstations, each one QEMU process, and the cables between them."""
import itertools
import json
import os
import queue
import signal
import socket
import subprocess
import threading
import time
from pathlib import Path

LAB = Path(os.environ.get("LAB_DIR") or Path.home() / ".cache" / "agenda-red")
STATIONS = int(os.environ.get("LAB_PUESTOS", "3"))
MEMORY = os.environ.get("LAB_MEMORIA", "640")  # megabytes each
# A stock kernel does not start under every machine's own virtualization; translation always works.
ACCELERATOR = os.environ.get("LAB_ACEL", "-accel tcg,thread=multi,tb-size=256 -cpu max").split()


class Silent(Exception):
    """A machine does not answer in time."""


class Failed(Exception):
    """A command in a machine ended badly."""


class Talk:
    """A program in a machine that lines are exchanged with."""

    def __init__(self, machine, number, answers):
        self.machine, self.number, self.answers = machine, number, answers
        self.rc = None

    def tell(self, text):
        self.machine.send("dile", to=self.number, text=text + "\n")

    def line(self, seconds=30):
        """Its next line; None when it has ended."""
        if self.rc is not None:
            return None
        try:
            answer = self.answers.get(timeout=seconds)
        except queue.Empty:
            raise Silent(f"{self.machine.name}: no line in {seconds} s") from None
        if "rc" in answer:
            self.rc = answer["rc"]
            return None
        return answer["line"]

    def lines(self, seconds=30):
        """Those up to its end."""
        while (line := self.line(seconds)) is not None:
            yield line

    def waiting(self):
        """Whether it has said something that nobody has taken yet."""
        return not self.answers.empty()

    def kill(self):
        self.machine.send("mata", to=self.number)


class Machine:
    numbers = itertools.count(time.time_ns())

    def __init__(self, number):
        self.number = number
        self.name = f"puesto{number}" if number else "servidor"
        self.port = None
        self.connecting = threading.Lock()
        self.answers = {}

    def __str__(self):
        return self.name

    @property
    def isServer(self):
        return self.number == 0

    def file(self, kind):
        return LAB / "run" / f"{self.name}.{kind}"

    # the plug ----------------------------------------------------------------------------------------------------------
    def cables(self):
        """Own and far end of each, N of the server going to workstation N."""
        ends = [(LAB / "run" / f"servidor{i}.cable", LAB / "run" / f"puesto{i}.cable") for i in range(1, STATIONS + 1)]
        return ends if self.isServer else [ends[self.number - 1][::-1]]

    def pid(self):
        try:
            pid = int(self.file("pid").read_text())
            return pid if b"qemu" in Path(f"/proc/{pid}/cmdline").read_bytes() else None
        except (OSError, ValueError):
            return None

    def start(self):
        for kind in ("ordenes", "qmp"):
            self.file(kind).unlink(missing_ok=True)
        words = ["qemu-system-x86_64", *ACCELERATOR, "-m", MEMORY, "-smp", "2" if self.isServer else "1",
                 "-display", "none", "-nodefaults", "-no-user-config", "-daemonize", "-pidfile", self.file("pid"),
                 "-serial", f"file:{self.file('consola')}", "-qmp", f"unix:{self.file('qmp')},server=on,wait=off",
                 "-kernel", LAB / "vmlinuz", "-initrd", LAB / "initrd",
                 "-append", f"console=ttyS0 loglevel=5 mitigations=off tsc=reliable red={self.name},{self.number},{STATIONS}",
                 "-drive", f"file={LAB}/base.img,format=raw,if=virtio,snapshot=on"]
        if self.isServer:
            words += ["-drive", f"file={LAB}/datos.img,format=raw,if=virtio,cache=writeback"]
        for tag, options in (("programas", ",readonly=on"), ("salida", "")):
            words += ["-virtfs", f"local,path={LAB / tag},mount_tag={tag},security_model=none,multidevs=remap{options}"]
        words += ["-device", "virtio-serial-pci", "-chardev", f"socket,id=o,path={self.file('ordenes')},server=on,wait=off",
                  "-device", "virtserialport,chardev=o,name=ordenes", "-device", "virtio-rng-pci"]
        for i, (own, far) in enumerate(self.cables(), 1):
            own.unlink(missing_ok=True)
            words += ["-netdev", f"dgram,id=red{i},local.type=unix,local.path={own},remote.type=unix,remote.path={far}",
                      "-device", f"virtio-net-pci,id=tarjeta{i},netdev=red{i},mac=52:54:00:09:{self.number:02x}:{i:02x}"]
        subprocess.run([str(word) for word in words], check=True)

    def wait(self, seconds=240):
        """Until it has started everything it starts by itself."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            try:
                if self.run("test -e /run/ready", 5, check=False)["rc"] == 0:
                    return self
            except (OSError, Silent):
                pass
            time.sleep(0.3)
        raise Silent(f"{self.name} does not start; see {self.file('consola')}")

    def pull(self):
        """Its plug."""
        pid = self.pid()
        if pid:
            os.kill(pid, signal.SIGKILL)
            while self.pid():
                time.sleep(0.01)
        self.file("pid").unlink(missing_ok=True)
        self.hang_up()

    # the cable ---------------------------------------------------------------------------------------------------------
    def monitor(self, command, **words):
        with socket.socket(socket.AF_UNIX) as wire:
            wire.settimeout(10)
            wire.connect(str(self.file("qmp")))
            lines = wire.makefile("rw")
            lines.readline()  # its greeting
            for one in (dict(execute="qmp_capabilities"), dict(execute=command, arguments=words)):
                lines.write(json.dumps(one) + "\n")
                lines.flush()
                while "event" in (answer := json.loads(lines.readline())):
                    pass
        if "error" in answer:
            raise Failed(f"{self.name}: {command}: {answer['error']}")
        return answer["return"]

    def cable(self, isIn, number=1):
        self.monitor("set_link", name=f"red{number}", up=isIn)

    def freeze(self):
        self.monitor("stop")

    def thaw(self):
        self.monitor("cont")

    # orders ------------------------------------------------------------------------------------------------------------
    def connect(self):
        with self.connecting:
            if self.port:
                return self.port
            port = socket.socket(socket.AF_UNIX)
            try:
                port.connect(str(self.file("ordenes")))
            except OSError:
                port.close()
                raise
            self.port = port
            threading.Thread(target=self.listen, args=(port,), daemon=True).start()
            return port

    def hang_up(self):
        port, self.port = self.port, None
        if port:
            port.close()

    def listen(self, port):
        try:
            for line in port.makefile("rb"):
                try:
                    answer = json.loads(line)
                except ValueError:
                    continue
                waiting = self.answers.get(answer.get("id"))
                if waiting:
                    waiting.put(answer)
        except (OSError, ValueError):
            pass
        if self.port is port:
            self.port = None

    def send(self, verb, **words):
        """Without waiting; @return its number, and where its answers will come in."""
        number, waiting = next(self.numbers), queue.Queue()
        if verb not in ("dile", "mata"):  # nothing is answered to these
            self.answers[number] = waiting
        self.connect().sendall(json.dumps(dict(words, verb=verb, id=number)).encode() + b"\n")
        return number, waiting

    def ask(self, patience, verb, **words):
        number, waiting = self.send(verb, **words)
        try:
            return waiting.get(timeout=patience)
        except queue.Empty:
            raise Silent(f"{self.name}: no answer in {patience} s") from None
        finally:
            self.answers.pop(number, None)

    def run(self, script, seconds=60, check=True):
        """A shell script to its end: dict of rc, out, err."""
        answer = self.ask(seconds + 10, "orden", script=script, seconds=seconds)
        if check and answer["rc"] != 0:
            raise Failed(f"{self.name}: {script[:160]!r} ended with {answer['rc']}: {(answer['out'] + answer['err'])[-800:]}")
        return answer

    def says(self, script, seconds=60):
        return self.run(script, seconds)["out"].strip()

    def talk(self, script):
        return Talk(self, *self.send("empieza", script=script))

    def clock(self):
        """What is to be added to its clock to get ours, and how far that may be wrong; nanoseconds."""
        best = None
        for _ in range(12):
            before = time.monotonic_ns()
            theirs = self.ask(10, "hora")["ns"]
            after = time.monotonic_ns()
            if best is None or after - before < best[1]:
                best = ((before + after) // 2 - theirs, after - before)
        return best[0], best[1] // 2


class Office:
    """All the machines."""

    def __init__(self):
        self.server = Machine(0)
        self.stations = [Machine(i) for i in range(1, STATIONS + 1)]
        self.all = [self.server, *self.stations]

    def machine(self, name):
        return next(one for one in self.all if name in (one.name, str(one.number)))

    def up(self, fresh=False):
        (LAB / "run").mkdir(parents=True, exist_ok=True)
        (LAB / "salida").mkdir(exist_ok=True)
        disk = LAB / "datos.img"
        if fresh or not disk.exists():
            self.server.pull()
            disk.unlink(missing_ok=True)
            with open(disk, "wb") as file:
                file.truncate(2 << 30)
            subprocess.run(["mke2fs", "-q", "-t", "ext4", "-m", "0", str(disk)], check=True)
        for one in self.all:
            if not one.pid():
                one.start()
        for one in self.all:
            one.wait()

    def down(self):
        if self.server.pid():
            try:
                self.server.run("sync", 20, check=False)
            except (OSError, Silent):
                pass
        for one in self.all:
            one.pull()
