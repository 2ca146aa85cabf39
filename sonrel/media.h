// SPDX-License-Identifier: MIT
#pragma once

/// All operations of the media library that the engine calls.
#include "sonrel/base/ZRMediaTypes.h"
#include "sonrel/media/OpenMediaFile.h"
#include "sonrel/media/ZRAbstractAudioStream.h"
#include "sonrel/media/ZRAbstractMediaFile.h"
#include "sonrel/media/ZRAudioConverter.h"
#include "sonrel/media/ZRMediaException.h"
