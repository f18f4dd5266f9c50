"""What every experiment has: a share with the settings asked for, mounted by all workstations, a fresh table on it, programs
that work on it, and the judgement at the end."""
import json
import os
import random
import re
import threading
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor

from judge import Judge
from machines import LAB, Failed, Silent

SERVER_STATE = "/srv/estado"
KEEPALIVE = "TCP_NODELAY SO_KEEPALIVE TCP_KEEPIDLE=10 TCP_KEEPINTVL=5 TCP_KEEPCNT=3"

# What the manual asks for, with what only the administrator can see to: that the server soon notices a dead workstation.
SETTINGS = dict(
    montaje=dict(cifs="vers=3.1.1,cache=none,hard", nfs="vers=4.2,hard"),
    samba=f"smb2 leases = no;socket options = {KEEPALIVE}",
    recurso="oplocks = no;level2 oplocks = no;strict sync = yes;posix locking = yes",
    sysctl="net.ipv4.tcp_retries2=5",
    lease="15",
    programas="actual",  # which of the folders below programas/
)
CLOCK_SLACK = 2_000_000  # nanoseconds that a clock may wander between two looks at it


class Writer:
    """An agendadriver that writes until it is killed. What it says goes to a file of the host, and so outlives its machine."""

    def __init__(self, scene, machine, number, words):
        self.machine, self.number, self.life = machine, number, scene.lives[machine.name]
        self.file = LAB / "salida" / scene.name / f"w{number}.txt"
        seed = scene.random.getrandbits(30)
        self.talk = machine.talk(f"{scene.env}; cd /red/salida/{scene.name}; exec agendadriver write {scene.folder} {number} {seed} {words} "
                                 f">w{number}.txt 2>w{number}.err")

    def acks(self):
        try:
            return self.file.read_bytes().count(b"ACK ")
        except FileNotFoundError:
            return 0

    def kill(self):
        self.talk.kill()


class Clerk:
    """An agendadriver that does one thing after the other, as it is told."""

    def __init__(self, scene, machine, wrapper=""):
        self.scene, self.machine, self.number, self.life = scene, machine, scene.next_number(), scene.lives[machine.name]
        self.talk = machine.talk(f"{scene.env}; {wrapper} agendadriver obey {scene.folder} {self.number}")
        self.said = []  # the lines of its changes
        self.seen = []  # (value, its clock)
        self.errors = []

    def send(self, order):
        self.talk.tell(order)

    def done(self, seconds=120):
        """@return (microseconds, result) of the order that was sent."""
        while (line := self.talk.line(seconds)) is not None:
            words = line.split()
            if words[0] == "DONE":
                return int(words[2]), " ".join(words[3:-1])
            if words[0] in ("TRY", "ACK", "NAK", "UNK"):
                self.said.append(line)
            elif words[0] == "SEE":
                self.seen.append((words[2], int(words[3][1:])))
            else:
                self.errors.append(line)
        raise Failed(f"{self.machine}: the clerk has ended: {self.errors[-3:]}")

    def __call__(self, order, seconds=120):
        self.send(order)
        return self.done(seconds)

    def set(self, key, value, tries=10):
        """Until it is acknowledged."""
        for _ in range(tries):
            self(f"set {key} {value}")
            if self.said[-1].startswith("ACK"):
                return True
            time.sleep(0.3)
        return False


class Probe:
    """Single file calls on a workstation."""

    def __init__(self, machine):
        self.machine = machine
        self.talk = machine.talk("exec python3 -u /red/programas/guest/probe.py")

    def send(self, *words):
        self.talk.tell(" ".join(str(word) for word in words))

    def answer(self, seconds=60):
        line = self.talk.line(seconds)
        if line is None:
            raise RuntimeError(f"the probe of {self.machine} has ended")
        return json.loads(line)

    def __call__(self, *words, seconds=60):
        self.send(*words)
        return self.answer(seconds)


class Scene:
    def __init__(self, office, protocol, words):
        self.office, self.protocol = office, protocol
        self.server, self.stations = office.server, office.stations
        self.words = dict(words)
        self.settings = {}
        for name, value in SETTINGS.items():
            if isinstance(value, dict):
                value = value[protocol]
            self.settings[name] = self.words.pop(name, value)
        self.name = f"{time.strftime('%m%d-%H%M%S')}-{protocol}"
        self.share = f"/mnt/{protocol}"
        self.folder = f"{self.share}/{self.name}"
        programs = f"/red/programas/{self.settings['programas']}"
        self.env = f"export PATH={programs}/bin:$PATH LD_LIBRARY_PATH={programs}/bin:{programs}/lib"
        self.random = random.Random(int(self.words.pop("semilla", "1")))
        self.note_locks = float(self.words.pop("bloqueos", "0"))  # seconds between two looks; 0 for none
        self.lives = Counter()  # how often each machine has been pulled
        self.clocks = {}  # (machine, life): [(our time, offset, how far it may be out)]
        self.writers, self.clerks, self.numbers = [], [], 0
        self.result = {}

    def word(self, name, default):
        """A setting of the experiment itself."""
        return type(default)(self.words.pop(name, default))

    def next_number(self):
        self.numbers += 1
        return self.numbers

    # server and mounts -------------------------------------------------------------------------------------------------
    def prepare(self):
        for one in self.stations:  # as an experiment that broke off may have left them
            one.cable(True)
            self.server.cable(True, one.number)
        self.server.run("rm -f /srv/relleno*")
        self.configure_server()
        self.server.run(f"dmesg -C; mkdir -m 777 /srv/agenda/{self.name}")
        (LAB / "salida" / self.name).mkdir()
        with ThreadPoolExecutor() as pool:
            list(pool.map(self.clean, self.stations))
            list(pool.map(self.mount, self.stations))
        return self

    def table(self):
        """A new one, and what it begins with."""
        self.stations[0].run(f"{self.env}; agendadriver init {self.folder}")
        self.judge = Judge(self.dump(self.stations[0]))
        self.look_at_clocks()
        if self.note_locks:
            threading.Thread(target=self.write_locks_down, daemon=True).start()
        return self

    def write_locks_down(self):
        """Who holds which bytes, as server and workstations see it, until the experiment ends."""
        words = "date +%s.%N; cat /proc/locks; smbstatus -B 2>/dev/null"
        with open(LAB / "salida" / self.name / "bloqueos.txt", "w") as file:
            while self.note_locks:
                for one in self.office.all:
                    try:
                        told = one.run(words if one.isServer else "cat /proc/locks", 10, check=False)["out"]
                    except (Silent, OSError) as failure:
                        told = f"{failure}\n"
                    file.write(f"== {time.monotonic_ns()} {one}\n{told}")
                file.flush()
                time.sleep(self.note_locks)

    def clean(self, station):
        """Nothing of the last experiment runs on."""
        station.run("pkill -9 agendadriver; pkill -9 oficina; pkill -9 Xvfb; pkill -9 -f probe.py", check=False)

    def configure_server(self):
        written = {"smb.global": self.settings["samba"], "smb.share": self.settings["recurso"]}
        changed = False
        for file, text in written.items():
            text = "".join(f"    {line.strip()}\n" for line in text.split(";") if line.strip())
            if self.server.run(f"cat {SERVER_STATE}/{file}")["out"] != text:
                self.server.run(f"cat >{SERVER_STATE}/{file} <<'END'\n{text}END")
                changed = True
        if changed:
            self.server.run("sh /red/programas/guest/serve.sh")
            self.server.run("until ss -ltn | grep -q :445; do sleep 0.2; done")
        for setting in self.settings["sysctl"].split(";"):
            if setting:
                self.server.run(f"sysctl -qw {setting}")
        if self.server.says("cat /proc/fs/nfsd/nfsv4leasetime") != self.settings["lease"]:
            self.server.run(f"echo {self.settings['lease']} >{SERVER_STATE}/lease; sync")
            self.server.pull()
            self.server.start()
            self.server.wait()

    def mount(self, station):
        options = self.settings["montaje"]
        if self.protocol == "cifs":
            what = f"mount -t cifs //10.9.{station.number}.1/agenda {self.share} -o user=oficina,pass=oficina,{options}"
        else:
            what = f"mount -t nfs4 10.9.{station.number}.1:/srv/agenda {self.share} -o {options}"
        station.run(f"mkdir -p {self.share}; umount -l {self.share} 2>/dev/null; dmesg -C; {what}", 90)

    # requests ----------------------------------------------------------------------------------------------------------
    def requests(self, station):
        """How often this workstation has asked the server for what, since it mounted the share."""
        if self.protocol == "cifs":
            text = station.run("cat /proc/fs/cifs/Stats")["out"]
            return {name: int(count) for name, count in re.findall(r"^(\w+): (\d+) total", text, re.M)}
        text = station.run("cat /proc/self/mountstats")["out"]
        part = text[text.index(f"mounted on {self.share} "):].split("\ndevice ")[0]
        return {name: int(count) for name, count in re.findall(r"^\s*([A-Z_]+): (\d+)", part, re.M) if int(count)}

    @staticmethod
    def difference(before, after):
        return {name: count - before.get(name, 0) for name, count in after.items() if count != before.get(name, 0)}

    def kernel_says(self, machine):
        text = machine.run("dmesg", 20, check=False)["out"]
        lines = [re.sub(r"^\[[ .\d]+\] ", "", line) for line in text.splitlines()]
        return Counter(line for line in lines if re.search(r"CIFS: VFS|NFS|nfs:|hung|blocked for|BUG|WARNING", line))

    # people at work ----------------------------------------------------------------------------------------------------
    def write(self, machine, count, words=""):
        made = [Writer(self, machine, self.next_number(), words) for _ in range(count)]
        self.writers += made
        return made

    def clerk(self, machine, wrapper=""):
        self.clerks.append(Clerk(self, machine, wrapper))
        return self.clerks[-1]

    def stop(self):
        for one in self.writers:
            if one.life == self.lives[one.machine.name] and one.machine.pid():
                one.kill()
        time.sleep(1)

    def pull(self, machine):
        machine.pull()
        self.lives[machine.name] += 1

    def restart(self, machine):
        machine.start()
        machine.wait()
        if not machine.isServer:
            self.mount(machine)
        self.look_at_clocks([machine])

    @staticmethod
    def waits(writers, patience, more=3, until=None):
        """Seconds until each writer has been acknowledged some more changes; None for one that was not.
        until: a time at which to stop looking."""
        begun = time.monotonic()
        end = min(begun + patience, until or begun + patience)
        goals = {one: one.acks() + more for one in writers}
        took = {}
        while len(took) < len(goals) and time.monotonic() < end:
            for one, goal in goals.items():
                if one not in took and one.acks() >= goal:
                    took[one] = round(time.monotonic() - begun, 1)
            time.sleep(0.1)
        return [took.get(one) for one in writers]

    # clocks ------------------------------------------------------------------------------------------------------------
    def look_at_clocks(self, machines=None):
        for one in machines or self.stations:
            marks = self.clocks.setdefault((one.name, self.lives[one.name]), [])
            marks.append((time.monotonic_ns(), *one.clock()))

    def our_time(self, machine, life, ns):
        """A time of a machine's clock by ours, and how far that may be out."""
        first, last = self.clocks[machine.name, life][0], self.clocks[machine.name, life][-1]
        share = min(1.0, max(0.0, (ns + first[1] - first[0]) / max(1, last[0] - first[0])))
        return ns + first[1] + int(share * (last[1] - first[1])), max(first[2], last[2]) + CLOCK_SLACK

    # judgement ---------------------------------------------------------------------------------------------------------
    def driver(self, machine, verb, seconds=180):
        return machine.run(f"{self.env}; agendadriver {verb} {self.folder}", seconds, check=False)

    def dump(self, machine):
        answer = self.driver(machine, "dump")
        if answer["rc"] != 0:
            raise Failed(f"dump on {machine} ended with {answer['rc']}: {answer['err'].strip()[-300:]}")
        return dict(line.partition(" ")[::2] for line in answer["out"].splitlines())

    def hear_everybody(self):
        """Gives the judge all lines. @return the longest time without an acknowledgement, seconds by writer; counts of errors."""
        gaps, errors = {}, Counter()
        people = [(one, one.file.read_text(errors="replace") if one.file.exists() else "") for one in self.writers]
        people += [(one, "".join(line + "\n" for line in one.said)) for one in self.clerks]
        for one, text in people:
            last = None
            for line in text[:text.rfind("\n") + 1].splitlines():
                *words, stamp = line.split()
                ns, out = self.our_time(one.machine, one.life, int(stamp[1:]))
                self.judge.hear(one.number, words, ns - out, ns + out)
                if words[0] == "ACK":
                    gaps[one.number] = max(gaps.get(one.number, 0), ns - (last or ns))
                    last = ns
        for one in self.writers:
            file = one.file.with_suffix(".err")
            for line in file.read_text(errors="replace").splitlines() if file.exists() else []:
                errors[re.sub(r"\d+", "N", re.sub(r"^\S+ \S+: ", "", line).replace(self.folder + "/", ""))] += 1
        for one in self.clerks:
            errors.update(re.sub(r"\d+", "N", line.replace(self.folder + "/", "")) for line in one.errors)
        return {number: round(gap / 1e9, 1) for number, gap in gaps.items()}, errors

    def judge_all(self):
        """@return what is wrong, a text each; the figures go into the result."""
        self.look_at_clocks()
        gaps, errors = self.hear_everybody()
        wrong, dumps, checks = [], {}, []
        for one in self.stations:
            begun = time.monotonic()
            answer = self.driver(one, "check")
            checks.append(round(time.monotonic() - begun, 1))
            if answer["rc"] != 0:
                wrong.append(f"check on {one} ended with {answer['rc']}: {answer['err'].strip()[-300:]}")
            try:
                dumps[one.name] = self.dump(one)
                wrong += [f"{one}: {text}" for text in self.judge.wrongs(dumps[one.name])]
            except (Failed, Silent) as failure:
                wrong.append(str(failure))
        if len({tuple(sorted(dump.items())) for dump in dumps.values()}) > 1:
            wrong.append("the workstations do not see the same")
        wrong += self.look_at_files()
        kernel = {}
        for one in [self.server, *self.stations]:
            lines = self.kernel_says(one)
            if lines:
                kernel[one.name] = dict(lines.most_common(6))
        answers = self.judge.answers
        self.result |= dict(ack=answers["ACK"], nak=answers["NAK"], unk=answers["UNK"], longest_wait_s=max(gaps.values(), default=None),
                            waits_s=gaps, check_s=checks, errors=dict(errors.most_common(8)), kernel=kernel,
                            lines=max((len(one) for one in dumps.values()), default=0))
        return wrong

    def look_at_files(self):
        """The files themselves, on the server, by other eyes."""
        here = f"/srv/agenda/{self.name}"
        wrong = []
        answer = self.server.run(f"{self.env}; agendatool check {here} AGENDA_N", 120, check=False)
        if answer["rc"] != 0:
            wrong.append(f"agendatool check: {(answer['out'] + answer['err']).strip()[-300:]}")
        answer = self.server.run(f"cd /red/programas/guest; test ! -e mdxcheck.py || python3 mdxcheck.py {here}/AGENDA_N.DBF", 120, check=False)
        if answer["rc"] != 0 or "FAIL" in answer["out"]:
            wrong.append(f"index: {(answer['out'] + answer['err']).strip()[-300:]}")
        return wrong

    def verdict(self, experiment, wrong, **figures):
        """One line for people, one for programs."""
        self.note_locks = 0
        self.result |= dict(figures, carga=round(os.getloadavg()[0], 1))  # of the host: it slows the machines
        for one in self.stations:
            if one.pid():
                one.run(f"umount -l {self.share}", 60, check=False)
        if wrong:
            self.server.run(f"mkdir -p /red/salida/{self.name}/tabla; cp -a /srv/agenda/{self.name}/. /red/salida/{self.name}/tabla/", check=False)
        record = dict(experiment=experiment, run=self.name, protocol=self.protocol, **self.settings, wrong=wrong[:20], **self.result)
        with open(LAB / "resultados.jsonl", "a") as file:
            file.write(json.dumps(record, ensure_ascii=False) + "\n")
        told = " ".join(f"{name}={value}" for name, value in self.result.items() if name not in ("errors", "kernel", "waits_s"))
        print(f"{'MAL ' if wrong else 'BIEN'} {experiment} {self.name} {self.settings['programas']} [{self.settings['montaje']}] {told}", flush=True)
        for text in wrong[:12]:
            print("     !!", text)
        for text, count in self.result.get("errors", {}).items():
            print(f"     {count} x {text}")
        for name, lines in self.result.get("kernel", {}).items():
            for text, count in lines.items():
                print(f"     {name}: {count} x {text}")
        return not wrong
