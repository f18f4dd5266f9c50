#!/usr/bin/env python3
"""red.py sube [nueva]            starts the machines that are off; nueva: the server with an empty disk
red.py baja                    all plugs are pulled, the server's after its disk has been written
red.py estado
red.py orden MACHINE COMMAND   a shell command in servidor, puesto1, puesto2 ...
red.py prueba EXPERIMENT cifs|nfs [NAME=VALUE ...]     see README.md
red.py todo [NAME=VALUE ...]   the usual ones, one after the other; 1 when one of them was bad
"""
import fcntl
import sys

from experimentos import EXPERIMENTS
from machines import LAB, Failed, Office, Silent
from scene import Scene


# what "todo" does, each over both protocols unless it names one
USUAL = ["control cifs", "atras", "ver", "juntos muertes=4", "mezcla", "muere-puesto", "muere-servidor", "corte corte=6", "corte corte=40 veces=2",
         "lleno", "viajes", "herramienta", "atras nfs montaje=vers=4.2,hard,noac", "juntos nfs montaje=vers=4.2,hard,noac"]


def everything(office, rest):
    bad = 0
    for line in USUAL:
        name, *words = line.split()
        protocols = [words.pop(0)] if words and words[0] in ("cifs", "nfs") else ["cifs", "nfs"]
        for protocol in protocols:
            bad += experiment(office, name, protocol, *words, *rest) != 0
    office.down()
    return 1 if bad else 0


def experiment(office, name, protocol, *rest):
    words = dict(word.split("=", 1) for word in rest)
    try:
        office.up()
        scene = Scene(office, protocol, words).prepare()
        good = EXPERIMENTS[name](scene)
    except (Failed, Silent, OSError) as failure:
        print(f"MAL  {name} {protocol} broke off: {failure}", flush=True)
        return 1
    if scene.words:
        print("not understood:", ", ".join(scene.words), file=sys.stderr)
        return 2
    return 0 if good else 1


def take_the_laboratory():
    """Two who pull plugs at once would spoil each other's results. @return what must stay open as long as it is wanted."""
    LAB.mkdir(parents=True, exist_ok=True)
    mark = open(LAB / "uso", "w")
    try:
        fcntl.flock(mark, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        sys.exit(f"somebody else is using the machines of {LAB}")
    return mark


def main(words):
    with take_the_laboratory():
        return obey(Office(), words)


def obey(office, words):
    verb, *rest = words or ["ayuda"]
    if verb == "sube":
        office.up("nueva" in rest)
    elif verb == "baja":
        office.down()
    elif verb == "estado":
        for one in office.all:
            print(one.name, "encendido" if one.pid() else "apagado")
    elif verb == "orden" and len(rest) > 1:
        answer = office.machine(rest[0]).run(" ".join(rest[1:]), 300, check=False)
        print(answer["out"] + answer["err"], end="")
        return answer["rc"]
    elif verb == "prueba" and len(rest) > 1 and rest[0] in EXPERIMENTS:
        return experiment(office, *rest)
    elif verb == "todo":
        return everything(office, rest)
    else:
        print(__doc__ + "\nexperiments: " + " ".join(EXPERIMENTS), file=sys.stderr)
        return 2
    return 0


sys.exit(main(sys.argv[1:]))
