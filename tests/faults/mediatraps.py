# SPDX-License-Identifier: MIT
"""Files and names that a careless media library follows to other files or to the network."""

import dataclasses
import json
import os
import struct
import urllib.parse
import warnings
import zipfile

from makemedia import timeline, write_noise


@dataclasses.dataclass(frozen=True)
class Trap:
    name: str
    argument: bytes  # INPUT, run in the folder of the traps
    url: str  # target_url in a timeline beside the traps


def chunk(kind, *parts):
    """An atom of a QuickTime file."""
    body = b"".join(parts)
    return struct.pack(">I4s", 8 + len(body), kind) + body


def movie(reference):
    """A QuickTime file of one second whose samples are in another file.

    @param reference  the entry of its table of data references
    """
    full = struct.pack(">I", 0)  # version and flags
    sample = chunk(b"sowt", bytes(6), struct.pack(">HIIHHHHI", 1, 0, 0, 2, 16, 0, 0, 48000 << 16))
    table = chunk(
        b"stbl", chunk(b"stsd", full, struct.pack(">I", 1), sample),
        chunk(b"stts", full, struct.pack(">III", 1, 48000, 1)),
        chunk(b"stsc", full, struct.pack(">IIII", 1, 1, 48000, 1)),
        chunk(b"stsz", full, struct.pack(">II", 1, 48000)),
        chunk(b"stco", full, struct.pack(">II", 1, 44)))
    data = chunk(b"dinf", chunk(b"dref", full, struct.pack(">I", 1), reference))
    media = chunk(b"mdia", chunk(b"mdhd", full, struct.pack(">IIIII", 0, 0, 48000, 48000, 0)),
                  chunk(b"hdlr", full, b"mhlrsoun", bytes(13)),
                  chunk(b"minf", chunk(b"smhd", full, bytes(4)), data, table))
    head = struct.pack(">IIIII", 0, 0, 48000, 48000, 0x10000) + bytes(76)
    track = chunk(b"tkhd", struct.pack(">I", 7), struct.pack(">IIIII", 0, 0, 1, 0, 48000),
                  bytes(60))
    return (chunk(b"ftyp", b"qt  ", bytes(4), b"qt  ") +
            chunk(b"moov", chunk(b"mvhd", full, head), chunk(b"trak", track, media)))


def alias(path):
    """A reference as an alias record, with the absolute path as its text of kind 2."""
    def text(kind, value):
        return struct.pack(">HH", kind, len(value)) + value + bytes(len(value) % 2)
    name = os.path.basename(path)
    record = (bytes(6) + struct.pack(">HH", 2, 0) + bytes([0]) + bytes(27) + bytes(12) +
              bytes([len(name)]) + name.ljust(63, b"\0") + bytes(16) + struct.pack(">hh", 1, 1) +
              bytes(16) + text(2, path.replace(b"/", b":").lstrip(b":")) + text(18, path) +
              text(19, b"/") + struct.pack(">HH", 0xFFFF, 0))
    return chunk(b"alis", struct.pack(">I", 0), record)


def playlists(secret, url):
    """{name: text} of files that name other files."""
    hls = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n{}#EXTINF:1.0,\n{}\n#EXT-X-ENDLIST\n"
    found = {}
    for ending in ("m3u8", "wav", "mp4", "mp3", "avi", "flac"):
        found[f"hls-url.{ending}"] = hls.format("", url)
        found[f"hls-file.{ending}"] = hls.format("", "file://" + secret)
        found[f"hls-concat.{ending}"] = hls.format("", f"concat:{secret}|{url}")
    found["hls-key.m3u8"] = hls.format(f'#EXT-X-KEY:METHOD=AES-128,URI="{url}"\n', secret)
    found["hls-map.m3u8"] = hls.format(f'#EXT-X-MAP:URI="{secret}"\n', secret)
    for ending in ("wav", "ffconcat", "txt"):
        found[f"concat.{ending}"] = f"ffconcat version 1.0\nfile '{secret}'\nfile '{url}'\n"
    dash = ('<?xml version="1.0"?><MPD xmlns="urn:mpeg:dash:schema:mpd:2011" type="static" '
            'mediaPresentationDuration="PT1S"><Period><AdaptationSet mimeType="audio/mp4">'
            '<Representation id="1" bandwidth="1"><BaseURL>{}</BaseURL></Representation>'
            "</AdaptationSet></Period></MPD>")
    found |= {"dash-url.mpd": dash.format(url), "dash-file.mp4": dash.format("file://" + secret)}
    found["list.m3u"] = f"#EXTM3U\n#EXTINF:1,x\n{secret}\n{url}\n"
    found["list.pls"] = f"[playlist]\nFile1={secret}\nFile2={url}\nNumberOfEntries=2\n"
    found["list.asx"] = f'<asx version="3.0"><entry><ref href="{url}"/></entry></asx>'
    found["list.xspf"] = (f'<playlist version="1" xmlns="http://xspf.org/ns/0/"><trackList><track>'
                          f"<location>file://{secret}</location></track></trackList></playlist>")
    found["list.smil"] = f'<smil><body><audio src="{url}"/></body></smil>'
    found["list.ram"] = url + "\n"
    found["list.cue"] = f'FILE "{secret}" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n'
    found["list.wpl"] = f'<?wpl version="1.0"?><smil><body><media src="{secret}"/></body></smil>'
    sdp = ("v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
           "m=audio 9 RTP/AVP 0\n")
    found |= {"stream.sdp": sdp, "stream-sdp.wav": sdp}
    found["stream.rtsp"] = f"[Reference]\nRef1={url}\n"
    found["script.avs"] = f'WavSource("{secret}")\n'
    found["graph.lavfi"] = f"amovie={secret}"
    found["subtitles.idx"] = "# VobSub index file, v7\nid: en, index: 0\n"
    found["metadata.wav"] = ";FFMETADATA1\ntitle=x\n"
    found["cpl.xml"] = ('<?xml version="1.0"?><CompositionPlaylist xmlns="http://www.smpte-ra.org/'
                        f'schemas/2067-3/2016"><Id>urn:uuid:1</Id><Path>{secret}</Path>'
                        "</CompositionPlaylist>")
    return found


# Names that a careless opener takes for a protocol, a pattern, a pipe or an option.
NAMES = [b"-i", b"--cache", b"-o.wav", b"concat:a.wav|b.wav", b"pipe:0", b"fd:0", b"http:",
         b"http:x.wav", b"subfile,,start,0,end,0,,:a.wav", b"file:a.wav", b"%03d.wav", b"%d.png",
         b"a%2Fb.wav", b"a|b.wav", b"new\nline.wav", b"tab\t.wav", b"\xe2\x80\xaevaw.exe",
         b"\xff\xfe.wav", b"x" * 251 + b".wav", b"quote'.wav", b"*.wav", b"~", b"$(id).wav",
         b" .wav", b"data:audio", b"lavfi:x", b"a:b", b"\\\\host\\share.wav"]


def nowhere(secret, url):
    """What is handed over and names no file of the folder."""
    return [url, "https://127.0.0.1:9/x.wav", "ftp://127.0.0.1:9/x.wav", "tcp://127.0.0.1:9",
            "udp://127.0.0.1:9", "rtp://127.0.0.1:9", "rtsp://127.0.0.1:9/x", "unix:/tmp/socket",
            f"concat:{secret}|/etc/hosts", f"subfile,,start,0,end,10,,:{secret}",
            f"crypto:{secret}", f"cache:{url}", f"async:{secret}", f"tee:{secret}", "pipe:",
            "data:audio/wav;base64,UklGRg==", f"file://host{secret}", f"//host{secret}",
            "\\\\host\\share\\x.wav", "file:///a%00b.wav", "file:///%2e%2e/%2e%2e/nowhere.wav",
            "a" * 5000, "smb://host/x.wav", "md5:x", "lavfi:sine"]


# Devices and pipes that are there, opened by name.
DEVICES = ["/dev/zero", "/dev/stdin", "/dev/fd/0", "/proc/self/fd/0", "/dev/tty", "/dev", "/", ".",
           "/dev/urandom", "/dev/full"]


class Folder:
    """A folder of traps; what they lead to is beside it."""

    def __init__(self, path, outside):
        self.path, self.secret = path, outside / "secret.wav"
        self.found = []
        self.path.mkdir()
        write_noise(path / "good.wav", 48000)
        self.add_files()
        self.add_kinds()
        self.add_names()

    def add(self, name, data=None):
        raw = os.fsencode(name)
        if data is not None:
            with open(os.path.join(os.fsencode(self.path), raw), "wb") as file:
                file.write(data)
        whole = os.path.join(os.fsencode(self.path), raw)
        self.found.append(Trap(repr(raw)[2:40], whole, urllib.parse.quote(raw)))

    def add_files(self):
        url, secret = "http://127.0.0.1:9/leak", str(self.secret)
        for name, text in playlists(secret, url).items():
            self.add(name, text.encode())
        absolute = os.fsencode(secret)
        self.add("alias.mov", movie(alias(absolute)))
        self.add("alias.mp4", movie(alias(absolute)))
        self.add("url.mov", movie(chunk(b"url ", bytes(4), b"file://" + absolute, b"\0")))
        self.add("url-net.mov", movie(chunk(b"url ", bytes(4), url.encode(), b"\0")))
        reference = chunk(b"rdrf", bytes(4), b"url ", struct.pack(">I", len(url)), url.encode())
        self.add("reference.mov", chunk(b"ftyp", b"qt  ", bytes(4)) +
                 chunk(b"moov", chunk(b"rmra", chunk(b"rmda", reference))))
        for name in ("empty.wav", "empty.mp4", "empty.mkv"):
            self.add(name, b"")
        self.add("zeros.wav", bytes(65536))
        for text in nowhere(secret, url):
            self.found.append(Trap(text[:40], text.encode(), text))

    def add_kinds(self):
        (self.path / "folder.wav").mkdir()
        os.mkfifo(self.path / "pipe.wav")
        links = {"loop-a.wav": "loop-b.wav", "loop-b.wav": "loop-a.wav", "dangling.wav": "nowhere",
                 "zero.wav": "/dev/zero", "random.wav": "/dev/urandom", "full.wav": "/dev/full",
                 "terminal.wav": "/dev/tty", "pipe-link.wav": "pipe.wav", "up.wav": ".."}
        for name, target in links.items():
            (self.path / name).symlink_to(target)
        for name in ("folder.wav", "pipe.wav", *links):
            self.add(name)
        for device in DEVICES:
            self.found.append(Trap(device, device.encode(), "file://" + device))

    def add_names(self):
        good = (self.path / "good.wav").read_bytes()
        for name in NAMES:
            self.add(name, good)
            # The bare name too, as it comes from a shell in the folder.
            self.found.append(Trap("bare " + repr(name)[2:30], name, urllib.parse.quote(name)))


def timelines(folder):
    """Paths of timelines that are something else; their folder must exist."""
    folder.mkdir()
    os.mkfifo(folder / "pipe.otio")
    (folder / "folder.otio").mkdir()
    (folder / "empty.otiod").mkdir()
    (folder / "file.otiod").write_bytes(b"{}")
    for name in ("zero", "folder", "dangling", "loop"):
        (folder / f"{name}.otiod").mkdir()
    (folder / "zero.otio").symlink_to("/dev/zero")
    (folder / "zero.otiod/content.otio").symlink_to("/dev/zero")
    (folder / "folder.otiod/content.otio").mkdir()
    (folder / "dangling.otiod/content.otio").symlink_to("nowhere")
    (folder / "loop.otiod/content.otio").symlink_to("content.otio")
    (folder / "nul.otio").write_bytes(bytes(4096))
    write_archives(folder)
    return sorted(folder.iterdir())


def archive(path, document, files):
    """A ZIP archive of a timeline. @param files  (name or entry, bytes)"""
    with warnings.catch_warnings(), zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as packed:
        warnings.simplefilter("ignore")  # two entries of one name
        packed.writestr("content.otio", json.dumps(document))
        for entry, data in files:
            packed.writestr(entry, data)


def link(name):
    """An entry for a link."""
    entry = zipfile.ZipInfo(name)
    entry.create_system, entry.external_attr = 3, 0o120777 << 16
    return entry


def write_archives(folder):
    """Archives that lead out of their folder, fill the disk, or contain such media files."""
    up = "../" * 9
    secret = os.fsencode(os.path.abspath(folder / "../../outside/secret.wav"))
    bomb = bytes(100 << 20)
    inside = {
        "up": [(f"{up}tmp/evil.wav", b"x")], "up-media": [("media/../../evil.wav", b"x")],
        "absolute": [("/tmp/evil.wav", b"x")], "drive": [("C:\\evil.wav", b"x")],
        "link": [(link("media/a.wav"), secret)], "link-folder": [
            (link("media"), os.path.dirname(secret)), ("media/a.wav", b"x")],
        "twice": [("media/a.wav", b"x"), ("media/a.wav", b"y")],
        "case": [("media/a.wav", b"x"), ("media/A.wav", b"y")],
        "clash": [("media", b"x"), ("media/a.wav", b"y")],
        "bomb": [("media/a.wav", bomb)], "bombs": [(f"media/{n}.wav", bomb) for n in range(2)],
        "many": [(f"media/{number}", b"") for number in range(70000)],
        "playlist": [("media/a.wav", f"#EXTM3U\n#EXTINF:1,x\n{os.fsdecode(secret)}\n")],
        "alias": [("media/a.wav", movie(alias(secret)))],
    }
    for name, files in inside.items():
        archive(folder / f"{name}.otioz", timeline(["media/a.wav"]), files)
    archive(folder / "outside.otioz", timeline([f"{up}nowhere.wav"]), [])
    archive(folder / "document.otioz", timeline(["a"]) | {"name": "x" * (100 << 20)}, [])
    (folder / "cut.otioz").write_bytes((folder / "case.otioz").read_bytes()[:-30])
    (folder / "folder.otioz").mkdir()
    (folder / "zero.otioz").symlink_to("/dev/zero")
    os.mkfifo(folder / "pipe.otioz")
