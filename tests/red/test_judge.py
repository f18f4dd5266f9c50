"""The judge must let pass what may be, and find each fault: python3 test_judge.py"""
import unittest

from judge import Judge

FIRST = {"a": "v0", "counter": "0"}

# What the writers said (writer, line, time), what the table holds, and the keys that are wrong then.
CASES = {
    "nothing done": ([], {"a": "v0", "counter": "0"}, []),
    "acknowledged and there": ([(1, "TRY upd a x", 1), (1, "ACK upd a x", 2)], {"a": "x", "counter": "0"}, []),
    "acknowledged and lost": ([(1, "TRY upd a x", 1), (1, "ACK upd a x", 2)], {"a": "v0", "counter": "0"}, ["a"]),
    "a new line lost": ([(1, "TRY ins b x", 1), (1, "ACK ins b x", 2)], {"a": "v0", "counter": "0"}, ["b"]),
    "never answered: there or not": ([(1, "TRY upd a x", 1)], {"a": "x", "counter": "0"}, []),
    "never answered, not there": ([(1, "TRY upd a x", 1)], {"a": "v0", "counter": "0"}, []),
    "unknown, there": ([(1, "TRY upd a x", 1), (1, "UNK upd a x", 2)], {"a": "x", "counter": "0"}, []),
    "refused and there all the same": ([(1, "TRY ins b x", 1), (1, "NAK ins b x", 2)], {"a": "v0", "b": "x", "counter": "0"}, ["b"]),
    "a line that nobody wrote": ([], {"a": "v0", "z": "x", "counter": "0"}, ["z"]),
    "deleted and back": ([(1, "TRY del a", 1), (1, "ACK del a", 2)], {"a": "v0", "counter": "0"}, ["a"]),
    "deleted": ([(1, "TRY del a", 1), (1, "ACK del a", 2)], {"counter": "0"}, []),
    "one after the other, the first stays":
        ([(1, "TRY upd a x", 1), (1, "ACK upd a x", 2), (2, "TRY upd a y", 3), (2, "ACK upd a y", 4)], {"a": "x", "counter": "0"}, ["a"]),
    "at the same time, either stays":
        ([(1, "TRY upd a x", 1), (2, "TRY upd a y", 2), (1, "ACK upd a x", 3), (2, "ACK upd a y", 4)], {"a": "x", "counter": "0"}, []),
    "an unknown one may come late":
        ([(1, "TRY upd a x", 1), (1, "UNK upd a x", 2), (2, "TRY upd a y", 3), (2, "ACK upd a y", 4)], {"a": "x", "counter": "0"}, []),
    "but not behind one's own": ([(1, "TRY upd a x", 1), (1, "UNK upd a x", 2), (1, "TRY upd a y", 3), (1, "ACK upd a y", 4)],
                                 {"a": "x", "counter": "0"}, ["a"]),
    "set back to an earlier value":
        ([(1, "TRY upd a x", 1), (1, "ACK upd a x", 2), (2, "TRY upd a y", 3), (2, "ACK upd a y", 4), (1, "TRY upd a x", 5), (1, "ACK upd a x", 6)],
         {"a": "y", "counter": "0"}, ["a"]),
    "counted too little": ([(1, "TRY inc counter 1", 1), (1, "ACK inc counter 1", 2), (2, "TRY inc counter 1", 1), (2, "ACK inc counter 1", 2)],
                           {"a": "v0", "counter": "1"}, ["counter"]),
    "counted one more than anybody": ([(1, "TRY inc counter 1", 1), (1, "NAK inc counter 1", 2)], {"a": "v0", "counter": "1"}, ["counter"]),
    "perhaps counted": ([(1, "TRY inc counter 1", 1), (1, "ACK inc counter 1", 2), (2, "TRY inc counter 1", 1)], {"a": "v0", "counter": "2"}, []),
}


class JudgeTest(unittest.TestCase):
    def test_cases(self):
        for name, (lines, found, wrong) in CASES.items():
            with self.subTest(name):
                judge = Judge(FIRST)
                for writer, line, time in lines:
                    judge.hear(writer, line.split(), time, time)
                self.assertEqual([text.split("=")[0] for text in judge.wrongs(found)], wrong)

    def test_a_clock_that_may_be_out_makes_no_order(self):
        judge = Judge(FIRST)
        for writer, line, earliest, latest in ((1, "TRY upd a x", 10, 10), (1, "ACK upd a x", 11, 21), (2, "TRY upd a y", 20, 30), (2, "ACK upd a y", 31, 41)):
            judge.hear(writer, line.split(), earliest, latest)
        self.assertEqual(judge.wrongs({"a": "x", "counter": "0"}), [])


unittest.main()
