// SPDX-License-Identifier: MIT
// Opens the media files whose paths are the lines of a file, as `sonrel info` does, and does
// nothing else.
//
//     media_opening FILE
#include <cstdio>
#include <fstream>
#include <string>

#include "sonrel/base/Paths.h"
#include "sonrel/media/MediaInfo.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::ifstream names(argv[1]);
    for (std::string path; std::getline(names, path);) {
        zrh::media::MediaInfo info;
        if (zrh::media::DescribeMedia(zrtl::FromUtf8(path), &info) != 0) {
            std::fprintf(stderr, "cannot open %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
