"""Single file calls on command, one a line, to look at what a share makes of each; answers in JSON.

  open H FILE HOW      HOW of the letters r w (reading, writing), c (made if missing), d (O_DIRECT), s (O_DSYNC)
  read H AT COUNT [a]  text, and how many bytes; a: into memory that is aligned as disks want it
  write H AT TEXT [a]  TEXT, or COUNT*C for C so many times
  lock H KIND AT [N]   KIND X exclusive, S shared, U given back; locks that belong to the handle, never waited for
  ask H AT             whether an exclusive lock would meet another's
  direct H on|off      O_DIRECT by fcntl
  size H   fstat H   stat FILE   datasync H   sync H   cut H SIZE   close H   names FOLDER   sleep SECONDS
"""
import errno
import fcntl
import json
import mmap
import os
import shlex
import struct
import sys
import time

SET_LOCK, ASK_LOCK = 37, 36  # F_OFD_SETLK, F_OFD_GETLK
KINDS = dict(X=fcntl.F_WRLCK, S=fcntl.F_RDLCK, U=fcntl.F_UNLCK)
handles = {}


def range_of(kind, at, length=1):
    return struct.pack("hhqqi4x", kind, os.SEEK_SET, int(at), int(length), 0)


def aligned(size):
    return mmap.mmap(-1, max(size, 1))


def do(verb, *words):
    handle = handles.get(words[0]) if words else None
    if verb == "open":
        flags = os.O_RDWR if "w" in words[2] else os.O_RDONLY
        for letter, flag in (("c", os.O_CREAT), ("d", os.O_DIRECT), ("s", os.O_DSYNC)):
            flags |= flag if letter in words[2] else 0
        handles[words[0]] = os.open(words[1], flags, 0o666)
    elif verb == "read":
        count = int(words[2])
        if len(words) > 3:
            buffer = aligned(count)
            got = os.preadv(handle, [buffer], int(words[1]))
            data = buffer[:got]
        else:
            data = os.pread(handle, count, int(words[1]))
        return dict(n=len(data), text=data[:60].decode("latin1"))
    elif verb == "write":
        text = words[2].encode()
        if b"*" in text:
            count, _, letter = text.partition(b"*")
            text = letter * int(count)
        if len(words) > 3:
            buffer = aligned(len(text))
            buffer[:len(text)] = text
            return dict(n=os.pwritev(handle, [memoryview(buffer)[:len(text)]], int(words[1])))
        return dict(n=os.pwrite(handle, text, int(words[1])))
    elif verb == "lock":
        fcntl.fcntl(handle, SET_LOCK, range_of(KINDS[words[1]], *words[2:]))
    elif verb == "ask":
        found = struct.unpack("hhqqi4x", fcntl.fcntl(handle, ASK_LOCK, range_of(fcntl.F_WRLCK, words[1])))
        return dict(free=found[0] == fcntl.F_UNLCK)
    elif verb == "direct":
        flags = fcntl.fcntl(handle, fcntl.F_GETFL)
        fcntl.fcntl(handle, fcntl.F_SETFL, flags | os.O_DIRECT if words[1] == "on" else flags & ~os.O_DIRECT)
    elif verb == "size":
        return dict(n=os.lseek(handle, 0, os.SEEK_END))
    elif verb in ("fstat", "stat"):
        info = os.fstat(handle) if verb == "fstat" else os.stat(words[0])
        return dict(n=info.st_size, mtime=info.st_mtime_ns, ino=info.st_ino)
    elif verb == "datasync":
        os.fdatasync(handle)
    elif verb == "sync":
        os.fsync(handle)
    elif verb == "cut":
        os.ftruncate(handle, int(words[1]))
    elif verb == "close":
        os.close(handles.pop(words[0]))
    elif verb == "names":
        return dict(names=sorted(os.listdir(words[0])))
    elif verb == "sleep":
        time.sleep(float(words[0]))
    else:
        return dict(error="unknown verb")
    return {}


for line in sys.stdin:
    words = shlex.split(line)
    if not words:
        continue
    begun = time.monotonic_ns()
    try:
        answer = do(*words)
    except OSError as error:
        answer = dict(error=errno.errorcode.get(error.errno, str(error.errno)))
        if words[0] == "close":
            handles.pop(words[1], None)
    now = time.monotonic_ns()
    print(json.dumps(dict(answer, ms=round((now - begun) / 1e6, 1), ns=now)), flush=True)
