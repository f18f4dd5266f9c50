"""The office's program on a workstation: keys go in, pictures come out."""
import struct
import time
import zlib

from machines import LAB, Failed


class Picture:
    """What an X server shows, from the file in which it keeps its pixels."""

    def __init__(self, data):
        header = struct.unpack(">25I", data[:100])
        self.width, self.height, self.stride = header[4], header[5], header[12]
        begin = header[0] + 12 * header[19]
        self.pixels = data[begin:begin + self.stride * self.height]

    def __eq__(self, other):
        return self.pixels == other.pixels

    def png(self):
        """Rows of blue, green, red and nothing become a picture that people can open."""
        rows = []
        for row in range(self.height):
            line = self.pixels[row * self.stride:row * self.stride + 4 * self.width]
            colours = bytearray(3 * self.width)
            colours[0::3], colours[1::3], colours[2::3] = line[2::4], line[1::4], line[0::4]
            rows.append(b"\0" + bytes(colours))

        def part(kind, body):
            return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

        return (b"\x89PNG\r\n\x1a\n" + part(b"IHDR", struct.pack(">2I5B", self.width, self.height, 8, 2, 0, 0, 0)) +
                part(b"IDAT", zlib.compress(b"".join(rows))) + part(b"IEND", b""))


class Screen:
    def __init__(self, scene, machine, folder, date):
        self.scene, self.machine, self.shots = scene, machine, 0
        self.talk = machine.talk(f"{scene.env}; exec sh /red/programas/guest/screen.sh {folder} {date}")

    def key(self, *names):
        self.machine.run(f"DISPLAY=:1 xdotool key --clearmodifiers --delay 60 {' '.join(names)}")

    def type(self, text):
        self.machine.run(f"DISPLAY=:1 xdotool type --delay 60 '{text}'")

    def picture(self):
        file = f"{self.scene.name}/{self.machine}.xwd"
        self.machine.run(f"until [ -s /tmp/pantalla/Xvfb_screen0 ]; do sleep 0.3; done; cp /tmp/pantalla/Xvfb_screen0 /red/salida/{file}")
        path = LAB / "salida" / file
        picture = Picture(path.read_bytes())
        path.unlink()
        return picture

    def keep(self, name):
        """A picture for people, beside the result."""
        self.shots += 1
        (LAB / "salida" / self.scene.name / f"{self.machine}-{self.shots}-{name}.png").write_bytes(self.picture().png())

    def until(self, isIt, seconds, what):
        """@return (seconds it took, picture) until a picture is as wanted."""
        begun = time.monotonic()
        while True:
            picture = self.picture()
            if isIt(picture):
                return round(time.monotonic() - begun, 1), picture
            if time.monotonic() - begun > seconds:
                self.keep("no")
                raise Failed(f"{self.machine}: {what} did not come in {seconds} s")
            time.sleep(0.3)

    def settled(self, other_than=None, seconds=120):
        """The picture once it stands still, and is another than this one."""
        end = time.monotonic() + seconds
        last = None
        while time.monotonic() < end:
            picture = self.picture()
            if last and picture == last and not (other_than and picture == other_than):
                return picture
            last = picture
            time.sleep(1.5)
        self.keep("no")
        raise Failed(f"{self.machine}: nothing new to be seen in {seconds} s")
