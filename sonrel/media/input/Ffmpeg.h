// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <new>

#include "sonrel/media/ffmpeg/FfmpegFunctions.h"
#include "sonrel/media/input/FfmpegLibrary.h"

namespace zrh::media::detail {

/// Calls a function of FFmpeg, which LoadFfmpeg has loaded.
template <auto Member>
struct FfmpegCall;

template <class Result, class... Arguments, Result (*FfmpegFunctions::*Member)(Arguments...)>
struct FfmpegCall<Member> {
    Result operator()(Arguments... arguments) const {
        return (LoadedFfmpeg().*Member)(arguments...);
    }
};

// In this namespace the name of a function of FFmpeg is a call of the loaded function. The library
// links no function of FFmpeg.
#define SONREL_CALL(name) inline constexpr FfmpegCall<&FfmpegFunctions::name> name;
SONREL_FFMPEG_FUNCTIONS(SONREL_CALL)
#undef SONREL_CALL

struct PacketDeleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct CodecContextDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct CodecParametersDeleter {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
struct ParserDeleter {
    void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
};
struct BufferPoolDeleter {
    void operator()(AVBufferPool* pool) const { av_buffer_pool_uninit(&pool); }
};
struct SwrDeleter {
    void operator()(SwrContext* context) const { swr_free(&context); }
};

using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using CodecParametersPtr = std::unique_ptr<AVCodecParameters, CodecParametersDeleter>;
using ParserPtr = std::unique_ptr<AVCodecParserContext, ParserDeleter>;
using BufferPoolPtr = std::unique_ptr<AVBufferPool, BufferPoolDeleter>;
using SwrPtr = std::unique_ptr<SwrContext, SwrDeleter>;

/// Wraps the result of an FFmpeg allocation.
/// @throws std::bad_alloc when the result is null
template <typename Pointer>
Pointer OwnOrThrow(typename Pointer::pointer raw) {
    if (raw == nullptr) throw std::bad_alloc();
    return Pointer(raw);
}

inline PacketPtr NewPacket() {
    return OwnOrThrow<PacketPtr>(av_packet_alloc());
}
inline FramePtr NewFrame() {
    return OwnOrThrow<FramePtr>(av_frame_alloc());
}

}  // namespace zrh::media::detail
