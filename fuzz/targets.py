# SPDX-License-Identifier: MIT
"""The fuzz targets: the longest input, the dictionary, and the sources that parse it."""

import dataclasses


@dataclasses.dataclass
class Settings:
    longest: int  # bytes
    dictionary: str
    parser: tuple  # patterns of sources, from the top of the tree
    quiet: bool = False  # the target prints on standard output


def sources(folder, *names):
    return tuple(f"{folder}/{name}.cpp" for name in names)


PEAKS = (sources("sonrel/cache", "CacheFileCheck", "PeakFile", "PeakFolds", "PeakHeader") +
         sources("sonrel/waveform", "*"))
DATABASE = sources("sonrel/database", "CacheLedger", "DatabaseSchema", "MediaDB", "Record*",
                   "Sqlite")
CONFORMED = sources("sonrel/conformed", "ConformedAudioFile", "ConformedFileCheck",
                    "ConformedFileLayout", "RecentConformedFiles")
READER = (sources("sonrel/media", "AudioStream", "MediaFile", "MediaInfo", "PacketReader",
                  "PcmReader", "StreamInfo") +
          sources("sonrel/media/index", "FileIndexer", "Packet*", "Pcm*", "SilenceLimit", "FrameCounter",
                  "PacketCursor") +
          sources("sonrel/media/input", "Demuxer", "InputFile", "PacketDecoder", "SampleFormat"))
CACHES = READER + sources("sonrel/media", "AudioConverter", "DecodedSource", "ImportMediaAsset",
                          "StereoConverter")

# The longest first: fuzz/run begins as many targets as there are processors.
TARGETS = {
    "command": Settings(8192, "command", sources("host/*", "*"), quiet=True),
    "conformed_file": Settings(4096, "conformed_file", CONFORMED),
    "peak_file": Settings(4096, "peak_file", PEAKS),
    "otio": Settings(65536, "otio", sources("host/otio", "*")),
    "database": Settings(16384, "database", DATABASE),
    "media_reader": Settings(8192, "media", READER),
    "media_caches": Settings(8192, "media", CACHES),
}
