// SPDX-License-Identifier: MIT
#pragma once

/// Everything that the engine calls of the media library.
#include "sonrel/base/ZRMediaTypes.h"
#include "sonrel/media/OpenMediaFile.h"
#include "sonrel/media/ZRAbstractAudioStream.h"
#include "sonrel/media/ZRAbstractMediaFile.h"
#include "sonrel/media/ZRAudioConverter.h"
#include "sonrel/media/ZRMediaException.h"
