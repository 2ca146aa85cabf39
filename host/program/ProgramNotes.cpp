// SPDX-License-Identifier: MIT
#include "host/program/ProgramNotes.h"

#include "host/options/CommandNotes.h"

namespace orlo::host {

void AddProgramNotes(CLI::App& app) {
    AddNotes(app, "Inputs",
             {{".otio, .otioz, .otiod", "Timeline: a document, an archive, a folder"},
              {".edl, .xml, .fcpxml, .fcpxmld",
               "Timeline that otioconvert converts, which must be on PATH"},
              {"-", "Media file from standard input, which is not kept in the cache"},
              {"any other name", "Media file"}});
    AddNotes(app, "Outputs",
             {{".wav, .flac, .w64, .aiff, .caf", "Sound file of 16 bits"},
              {".ogg, .opus", "Compressed sound file"},
              {"-", "With mix -o: a WAV on standard output"},
              {"complete or not at all",
               "An output gets its name when it is complete, and never replaces an input or a file "
               "of the cache"}});
    AddNotes(app, "Environment",
             {{"XDG_CACHE_HOME", "Folder of the default cache, sonrel (default: ~/.cache)"},
              {"HOME", "Home folder, if XDG_CACHE_HOME is not set"},
              {"TMPDIR", "Folder of temporary files (default: /tmp)"},
              {"SDL_AUDIODRIVER", "Sound system of play, such as pulseaudio or alsa"}});
    AddNotes(app, "Files",
             {{"$XDG_CACHE_HOME/sonrel/media", "The media cache, without --cache"},
              {"$XDG_CACHE_HOME/sonrel/media.db", "The media database, without --db"},
              {"CacheErrorLog.txt", "The log of cache errors, next to the database"}});
    AddNotes(app, EXIT_CODES,
             {{"0", "Done"},
              {"1", "The job failed: a file does not exist, or cannot be read or written"},
              {"2", "Wrong usage"},
              {"3", "A condition of the command line is not met"},
              {"130", "Interrupted; no output is half written"}});
}

}  // namespace orlo::host
