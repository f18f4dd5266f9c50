"""What the office goes through. Each takes a scene, prints a verdict and returns whether it was good."""
import time

from scene import Probe
from screen import Screen


def juntos(scene):
    """All workstations write, `puesto` writers each, `segundos` long; `muertes` writers of the first are killed and replaced."""
    each, seconds, deaths = scene.word("puesto", 2), scene.word("segundos", 60.0), scene.word("muertes", 0)
    return write_together(scene, "juntos", each, seconds, deaths)


def largo(scene):
    """The same for ten minutes."""
    return write_together(scene, "largo", scene.word("puesto", 2), scene.word("segundos", 600.0), scene.word("muertes", 0))


def mezcla(scene):
    """Whole sheets added, moved and deleted, between all the rest."""
    return write_together(scene, "mezcla", scene.word("puesto", 2), scene.word("segundos", 60.0), scene.word("muertes", 0), "0 sheets")


def write_together(scene, name, each, seconds, deaths, words=""):
    scene.table()
    here = {one.name: scene.write(one, each, words) for one in scene.stations}
    first = scene.stations[0]
    end = time.monotonic() + seconds
    for left in range(deaths, 0, -1):
        time.sleep(max(0.0, end - time.monotonic()) / (left + 1))
        victim = scene.random.choice(here[first.name])
        victim.kill()
        here[first.name].remove(victim)
        here[first.name] += scene.write(first, 1, words)
    time.sleep(max(0.0, end - time.monotonic()))
    scene.stop()
    return scene.verdict(name, scene.judge_all(), segundos=seconds, muertes=deaths)


def ver(scene):
    """The first counts, `veces` times with `cada` ms in between; all others look every `mira` ms: how late do they see it?"""
    times, every, look = scene.word("veces", 40), scene.word("cada", 500), scene.word("mira", 100)
    scene.table()
    counting = scene.clerk(scene.stations[0])
    looking = [scene.clerk(one) for one in scene.stations[1:]]
    for one in [counting, *looking]:
        one("refresh")
    seconds = times * (every + 500) // 1000 + 10
    for one in looking:
        one.send(f"watch shared-a {seconds} {look}")
    counting(f"count shared-a {times} {every}", 600)
    for one in looking:
        one.done(600)
    wrong = scene.judge_all()
    told = {}
    for line in counting.said:
        words = line.split()
        if words[0] == "ACK":
            told[int(words[3])] = scene.our_time(counting.machine, counting.life, int(words[4][1:]))[0]
    late, seen = [], []
    for one in looking:
        moments = [(int(value), scene.our_time(one.machine, one.life, ns)[0]) for value, ns in one.seen if value.isdigit()]
        seen.append(len({value for value, _ in moments} & set(told)))
        for value, when in told.items():
            later = [moment for number, moment in moments if number >= value]
            if later:
                late.append(max(0.0, (min(later) - when) / 1e6))
            else:
                wrong.append(f"{one.machine} never saw {value}")
    late.sort()
    return scene.verdict("ver", wrong, dicho=len(told), visto=seen, ms_mediana=round(late[len(late) // 2]) if late else None,
                         ms_max=round(late[-1]) if late else None)


def atras(scene):
    """One writes a value and pauses; others write; the first sets it back to one of before. The last acknowledged one stays."""
    rounds = scene.word("vueltas", 4)
    scene.table()
    clerks = [scene.clerk(one) for one in scene.stations]
    wrong = []
    for turn in range(rounds):
        order = clerks[turn % len(clerks):] + clerks[:turn % len(clerks)]
        steps = [(order[0], "uno"), (order[-1], "dos"), (order[-1], "tres"), (order[0], "dos")]
        for step, (who, value) in enumerate(steps):
            if not who.set("shared-a", value):
                wrong.append(f"round {turn} step {step}: {who.machine} was never acknowledged: {who.errors[-2:]}")
            if step == 2 and turn % 2:  # with everybody else gone the first is alone with its memory
                for one in order[1:]:
                    one("close")
        time.sleep(1)
        for one in clerks:
            one("refresh")
            _, found = one("seek shared-a")
            if found != "dos":
                wrong.append(f"round {turn}: the last acknowledged value is dos, {one.machine} reads {found}")
    for one in clerks:
        one("close")
    return scene.verdict("atras", wrong + scene.judge_all(), vueltas=rounds)


def muere_puesto(scene):
    """The plug of the last workstation is pulled while all write: how long do the others wait?"""
    each, after = scene.word("puesto", 2), scene.word("tras", 12.0)
    victim = scene.stations[-1]
    scene.table()
    others = [writer for one in scene.stations[:-1] for writer in scene.write(one, each)]
    scene.write(victim, each)
    time.sleep(after)
    scene.pull(victim)
    waits = scene.waits(others, scene.word("paciencia", 150.0))
    time.sleep(5)
    scene.stop()
    scene.restart(victim)
    wrong = [] if None not in waits else ["a writer never went on"]
    return scene.verdict("muere-puesto", wrong + scene.judge_all(), otros_esperan_s=waits)


def muere_servidor(scene):
    """The plug of the server is pulled while all write; `sin` seconds later it starts again."""
    each, after, off = scene.word("puesto", 2), scene.word("tras", 12.0), scene.word("sin", 5.0)
    scene.table()
    writers = [writer for one in scene.stations for writer in scene.write(one, each)]
    time.sleep(after)
    scene.pull(scene.server)
    time.sleep(off)
    begun = time.monotonic()
    scene.server.start()
    scene.server.wait()
    scene.configure_server()
    starting = round(time.monotonic() - begun, 1)
    waits = scene.waits(writers, scene.word("paciencia", 200.0))
    time.sleep(8)
    scene.stop()
    wrong = [] if None not in waits else ["a writer never went on"]
    return scene.verdict("muere-servidor", wrong + scene.judge_all(), arranca_s=starting, esperan_despues_s=waits)


def corte(scene):
    """A workstation's cable is out for `corte` seconds, `veces` times at random moments; `lado`: at its end or at the server's."""
    each, cut, times = scene.word("puesto", 2), scene.word("corte", 20.0), scene.word("veces", 1)
    side, patience = scene.word("lado", "puesto"), scene.word("paciencia", 150.0)
    scene.table()
    writers = {one.name: scene.write(one, each) for one in scene.stations}
    during, afterwards, wrong = [], [], []
    for _ in range(times):
        victim = scene.random.choice(scene.stations)
        time.sleep(8 + 7 * scene.random.random())
        ends = (victim, 1) if side == "puesto" else (scene.server, victim.number)
        ends[0].cable(False, ends[1])
        out = time.monotonic()
        others = [writer for name, these in writers.items() if name != victim.name for writer in these]
        during += scene.waits(others, cut)
        time.sleep(max(0.0, out + cut - time.monotonic()))
        ends[0].cable(True, ends[1])
        back = scene.waits(writers[victim.name] + others, patience)
        afterwards += back
        wrong += [f"a writer never went on after the cut at {victim}"] if None in back else []
    time.sleep(5)
    scene.stop()
    return scene.verdict("corte", wrong + scene.judge_all(), corte_s=cut, veces=times, lado=side, otros_esperan_s=during, despues_s=afterwards)


def lleno(scene):
    """The server's disk is filled but for `quedan` KB while all write, and has room again `lleno` seconds later."""
    each, left, full = scene.word("puesto", 2), scene.word("quedan", 64), scene.word("lleno", 20.0)
    scene.table()
    writers = [writer for one in scene.stations for writer in scene.write(one, each)]
    time.sleep(8)
    scene.server.run("sync; fallocate -l $(($(df --output=avail -k /srv | tail -1) - 2048))K /srv/relleno; "
                     f"dd if=/dev/zero of=/srv/relleno.resto bs=4k 2>/dev/null; truncate -s -{left}K /srv/relleno.resto; sync", 120)
    time.sleep(full)
    before = [one.acks() for one in writers]
    time.sleep(5)
    stood = all(one.acks() - count < 20 for one, count in zip(writers, before))
    scene.server.run("rm /srv/relleno*; sync")
    waits = scene.waits(writers, scene.word("paciencia", 120.0))
    time.sleep(8)
    scene.stop()
    wrong = [] if None not in waits else ["a writer never went on"]
    wrong += scene.judge_all()
    if not any("sitio" in text for text in scene.result["errors"]):
        wrong.append("nobody was told that the disk is full")
    return scene.verdict("lleno", wrong, paran=stood, siguen_s=waits)


def valla(scene):
    """A byte lock alone. Its holder's plug is pulled (`como=enchufe`) or its cable is out (`como=corte`, `corte` seconds):
    when is it free for another, and does the old holder, back again, still write as if it had it?"""
    how, cut, patience = scene.word("como", "corte"), scene.word("corte", 60.0), scene.word("paciencia", 150.0)
    holder, taker = scene.stations[-1], scene.stations[0]
    held, wanted = Probe(holder), Probe(taker)
    at, flags = 0xEFFFFFFE, "rwd" if scene.protocol == "nfs" else "rw"
    held("open", "h", f"{scene.folder}/valla", flags + "c")
    wanted("open", "h", f"{scene.folder}/valla", flags)
    held("lock", "h", "X", at)
    held("write", "h", 0, "antes")
    if how == "enchufe":
        scene.pull(holder)
    else:
        holder.cable(False)
    out = time.monotonic()
    held_write = None
    if how != "enchufe":
        held.send("write", "h", 0, "tarde")  # under way while the lock may go to another
    free = None
    limit = patience if how == "enchufe" else cut
    while time.monotonic() - out < limit:
        if free is None and "error" not in wanted("lock", "h", "X", at, seconds=patience):
            free = round(time.monotonic() - out, 1)
            wanted("write", "h", 0, "nuevo", seconds=patience)
            if how == "enchufe":
                break
        time.sleep(0.2)
    says = {}
    if how == "enchufe":
        scene.restart(holder)
    else:
        holder.cable(True)
        held_write = held.answer(patience)
        says["tarde"] = held_write.get("error", "escrito")
        for name, words in (("lee", ("read", "h", 0, 5)), ("escribe", ("write", "h", 8, "otra")), ("suelta", ("lock", "h", "U", at))):
            says[name] = held(*words, seconds=patience).get("error", "ok")
        if free is None:
            time.sleep(0.5)
            says["luego_libre"] = "error" not in wanted("lock", "h", "X", at)
    found = wanted("read", "h", 0, 5).get("text")
    wrong = ["the lock was never free"] if how == "enchufe" and free is None else []
    kernel = {one.name: dict(lines) for one in (holder, taker) if (lines := scene.kernel_says(one))}
    return scene.verdict("valla", wrong, como=how, corte_s=cut if how != "enchufe" else None, libre_s=free, el_de_antes=says, queda=found, kernel=kernel)


def calm_down(clerk):
    """The first look may meet a file's time that is news to its machine; the second finds that it has stayed the same for long enough."""
    for _ in range(2):
        time.sleep(4)
        clerk("refresh")


def viajes(scene):
    """How many requests to the server, and file calls, each step of the day costs one workstation while another has the table open."""
    days, again = scene.word("dias", 30), scene.word("veces", 10)
    scene.table()
    first, other = scene.stations[0], scene.stations[-1]
    trace = f"/tmp/{scene.name}.strace"
    plain, traced = scene.clerk(first), scene.clerk(first, f"exec strace -f -o {trace} -e trace=file,desc,fcntl -E LD_LIBRARY_PATH=$LD_LIBRARY_PATH")
    neighbour = scene.clerk(other)
    for number in range(days):
        neighbour(f"sheet w{neighbour.number}-{number}s")
    # A look soon after a change compares what is shown with the table; later ones ask only whether there is anything new.
    steps = dict(ocioso="refresh", ocioso_en_calma="refresh", busca="seek shared-b", dia="day 20260315", edita="set shared-a {n}", hoja="sheet w{w}-{n}s")
    requests, calls, micro = {}, {}, {}
    for one in (plain, traced):
        one("refresh")
        one("set shared-b x")
    for name, order in steps.items():
        counted, took = [], []
        if name == "ocioso_en_calma":
            calm_down(plain)
        for turn in range(again):
            before = scene.requests(first)
            took.append(plain(order.format(n=turn, w=plain.number))[0])
            counted.append(scene.difference(before, scene.requests(first)))
        counted.sort(key=lambda one: sum(one.values()))
        requests[name] = counted[len(counted) // 2]
        micro[name] = sorted(took)[len(took) // 2]
    plain("close")
    for name, order in steps.items():
        counted = []
        if name == "ocioso_en_calma":
            calm_down(traced)
        for turn in range(again):
            before = int(first.says(f"wc -l <{trace}"))
            traced(order.format(n=turn + 100, w=traced.number))
            lines = first.run(f"tail -n +{before + 1} {trace}")["out"].splitlines()
            counted.append([line.split("(")[0].split()[-1] for line in lines if "(" in line])
        counted.sort(key=len)
        middle = counted[len(counted) // 2]
        calls[name] = {call: middle.count(call) for call in sorted(set(middle)) if call not in ("read", "write")}
    for one in scene.clerks:
        one("close")
    totals = {name: sum(one.values()) for name, one in requests.items()}
    return scene.verdict("viajes", scene.judge_all(), viajes=totals, us=micro, peticiones=requests, llamadas=calls)


def control(scene):
    """Locks are kept from the server on purpose (SMB alone can do that): then something must be found wrong, or the judge is blind."""
    each, seconds = scene.word("puesto", 2), scene.word("segundos", 30.0)
    scene.settings["montaje"] += ",nobrl"
    for one in scene.stations:
        scene.mount(one)
    scene.table()
    for one in scene.stations:
        scene.write(one, each)
    time.sleep(seconds)
    scene.stop()
    found = scene.judge_all()
    return scene.verdict("control", [] if found else ["without locks nothing was found wrong"], hallado=found[:3])


def herramienta(scene):
    """The office's own trial of a folder, `agendatool red`, from two workstations: what a good share is said to be good for."""
    first, second = scene.stations[:2]
    waiting = first.talk(f"{scene.env}; mkdir -p {scene.folder}; agendatool red {scene.folder} --espera")
    lines, there = [], None
    for line in waiting.lines(300):
        lines.append(line)
        if "--desde-otro-puesto" in line:
            there = second.talk(f"{scene.env}; {line.strip()}")
    if there:
        list(there.lines(120))
    bad = [line for line in lines if line.startswith("mal")]
    wrong = bad + ([f"it ended with {waiting.rc}: {lines[-2:]}"] if waiting.rc else []) + ([] if there else ["nothing was said of the other workstation"])
    wrong += scene.server.says(f"ls -A /srv/agenda/{scene.name}").split()
    return scene.verdict("herramienta", wrong, dice=[line for line in lines if line.startswith(("dato", "ok   Ida", "ok   Vaciar", "Resultado"))])


def ventanas(scene):
    """The office's own program on two workstations: what one writes the other shows, and a line that one is writing is refused."""
    date, table = "20/11/2026", "NOTARIO1 AGENDA_N"
    first, second = scene.stations[:2]
    folder = f"{scene.folder}/oficina"
    first.run(f"{scene.env}; export QT_QPA_PLATFORM=offscreen; oficina --datos /tmp/{scene.name} --crear-demo --solo-datos --anyos 1 --fecha {date} "
              f"&& cp -r /tmp/{scene.name} {folder}", 300)
    screens = [Screen(scene, one, folder, date) for one in (first, second)]
    for one in screens:
        one.settled(seconds=240)
    time.sleep(20)  # the agenda opens by itself, in front of the start window
    wrong = []
    end = time.monotonic() + 90
    while screens[0].picture() != screens[1].picture():
        if time.monotonic() > end:
            wrong.append("the same agenda looks different on the two workstations")
            for one in screens:
                one.keep("agenda")
            break
        time.sleep(1)
    writer, reader = screens
    agendas = [one.picture() for one in screens]

    # one line, taken by the first while it writes; the second is refused it
    for one in screens:
        one.key("Down", "Right")
    before = reader.settled(agendas[1])
    writer.type("Firma de prueba")
    refused = time.monotonic()
    reader.key("F2")
    message = reader.settled(before)
    refused = round(time.monotonic() - refused, 1)
    reader.keep("otro-puesto")
    reader.key("Escape")
    if reader.settled(message) != before:
        wrong.append("the refused line looks different afterwards")

    # accepted, it is shown by the second without a key
    writer.key("Return")
    took, after = reader.until(lambda picture: picture != before, 30, "the line of the first")
    after = reader.settled()
    writer.key("Home")
    reader.keep("lo-del-otro")
    writer.keep("escrito")
    rows = scene.server.run(f"{scene.env}; agendatool dump /srv/agenda/{scene.name}/oficina/{table} --from 2026-11-20 --to 2026-11-20 --csv")["out"]
    if rows.count("Firma de prueba") != 1:
        wrong.append(f"the line stands {rows.count('Firma de prueba')} times in the table")
    for one in screens:
        one.key("Escape")
        one.settled()
        one.key("ctrl+q")
        list(one.talk.lines(60))
        if one.talk.rc:
            wrong.append(f"the program on {one.machine} ended with {one.talk.rc}")
    checked = scene.server.run(f"{scene.env}; agendatool check /srv/agenda/{scene.name}/oficina/{table}", check=False)
    if checked["rc"]:
        wrong.append(f"agendatool check: {(checked['out'] + checked['err']).strip()[-300:]}")
    return scene.verdict("ventanas", wrong, mensaje_s=refused, lo_ve_s=took)


EXPERIMENTS = {"juntos": juntos, "ver": ver, "atras": atras, "muere-puesto": muere_puesto, "muere-servidor": muere_servidor,
               "corte": corte, "valla": valla, "lleno": lleno, "mezcla": mezcla, "viajes": viajes, "largo": largo, "control": control,
               "herramienta": herramienta, "ventanas": ventanas}
