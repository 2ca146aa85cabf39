// SPDX-License-Identifier: MIT
#include "host/manifest/MixValues.h"

namespace orlo::host {

const std::vector<MixValue>& MixValueList() {
    static const std::vector<MixValue> VALUES = {{"from", "start (--from)", true},
                                                 {"to", "end (--to)", true},
                                                 {"dither", "--dither"},
                                                 {"seed", "--seed"},
                                                 {"gain", "--gain"},
                                                 {"composition", "--composition"},
                                                 {"retime", "--retime"},
                                                 {"audioFrom", "--audio-from"},
                                                 {"normalize", "--normalize"},
                                                 {"truePeak", "--true-peak"},
                                                 {"sound", "--stream or --channels"},
                                                 {"rate", "rate (--rate)", true},
                                                 {"fps", "frame rate (--fps)", true},
                                                 {"grid", "grid (--grid)", true},
                                                 {"startFrame", "first timecode", true},
                                                 {"dropFrame", "timecode format", true}};
    return VALUES;
}

}  // namespace orlo::host
