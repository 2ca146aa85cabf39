// SPDX-License-Identifier: MIT
#pragma once

/// Everything that the engine calls of the media library.
#include "sonrel/contracts/media/ZRAbstractAudioStream.h"
#include "sonrel/contracts/media/ZRAbstractMediaFile.h"
#include "sonrel/contracts/media/ZRAudioConverter.h"
#include "sonrel/contracts/media/ZRMediaException.h"
#include "sonrel/contracts/media/ZRMediaTypes.h"
