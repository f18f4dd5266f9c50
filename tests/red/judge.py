"""What may stand in the table after all that its writers were told.

Each change of a writer has a beginning and, once it was answered, an end, by one clock. Two changes are in order when one ended
before the other began, or when one writer made both. A key may hold what an acknowledged change, or one whose outcome
nobody knows, has given it, as long as no acknowledged change comes after that one. The counter must have counted every
acknowledged step.
"""
import math
from collections import defaultdict
from dataclasses import dataclass

GONE = None  # what a key "holds" that is not in the table


@dataclass
class Change:
    writer: int
    turn: int
    op: str
    value: str | None
    begun: float
    ended: float = math.inf
    isSure: bool = False
    isRefused: bool = False

    def isBefore(self, other):
        if self.writer == other.writer:
            return self.turn < other.turn
        return self.ended < other.begun


class Judge:
    def __init__(self, first):
        """first: key to value of the table before anybody wrote."""
        self.first = dict(first)
        self.changes = defaultdict(list)
        self.turns = defaultdict(int)
        self.underWay = {}
        self.answers = defaultdict(int)

    def hear(self, writer, words, earliest, latest):
        """One line of a writer, without its time, which lies between these two."""
        verb, op, key = words[:3]
        if verb == "TRY":
            self.turns[writer] += 1
            value = GONE if op == "del" else words[3] if len(words) > 3 else ""
            change = Change(writer, self.turns[writer], op, value, earliest)
            self.changes[key].append(change)
            self.underWay[writer] = change
            return
        self.answers[verb] += 1
        change = self.underWay.pop(writer)
        if verb == "ACK":
            change.isSure, change.ended = True, latest
        elif verb == "NAK":
            change.isRefused = True

    def allowed(self, key):
        changes = [one for one in self.changes[key] if not one.isRefused]
        sure = [one for one in changes if one.isSure]
        if any(one.op == "inc" for one in changes):
            least = int(self.first.get(key, 0)) + len(sure)
            return {str(count) for count in range(least, least + len(changes) - len(sure) + 1)}
        may = {one.value for one in changes if not any(one.isBefore(other) for other in sure)}
        return may if sure else may | {self.first.get(key, GONE)}

    def wrongs(self, found):
        """@return a text for each key that holds what it must not; found: key to value."""
        texts = []
        for key in sorted(set(self.first) | set(self.changes) | set(found)):
            may, value = self.allowed(key), found.get(key, GONE)
            if value not in may:
                kind = "lost" if value is GONE else "nobody was told of" if may == {GONE} else "not the last"
                texts.append(f"{key}={value} ({kind}; may be {', '.join(sorted(map(str, may))[:3])})")
        return texts
