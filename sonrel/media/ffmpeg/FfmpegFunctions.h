// SPDX-License-Identifier: MIT
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/adler32.h>
#include <libavutil/buffer.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include "sonrel/base/Export.h"

/// The functions of FFmpeg that the media library calls, one line each. A call of a function that
/// is missing here does not link.
// clang-format off
#define SONREL_FFMPEG_FUNCTIONS(USE)  \
    USE(av_adler32_update)            \
    USE(av_buffer_pool_get)           \
    USE(av_buffer_pool_init)          \
    USE(av_buffer_pool_uninit)        \
    USE(av_channel_layout_default)    \
    USE(av_channel_layout_describe)   \
    USE(av_channel_layout_from_mask)  \
    USE(av_dict_free)                 \
    USE(av_dict_get)                  \
    USE(av_dict_set)                  \
    USE(av_frame_alloc)               \
    USE(av_frame_free)                \
    USE(av_frame_get_buffer)          \
    USE(av_frame_get_side_data)       \
    USE(av_frame_ref)                 \
    USE(av_free)                      \
    USE(av_freep)                     \
    USE(av_get_audio_frame_duration2) \
    USE(av_get_bytes_per_sample)      \
    USE(av_get_exact_bits_per_sample) \
    USE(av_get_packed_sample_fmt)     \
    USE(av_log_default_callback)      \
    USE(av_log_set_callback)          \
    USE(av_malloc)                    \
    USE(av_opt_set_double)            \
    USE(av_opt_set_int)               \
    USE(av_opt_set_sample_fmt)        \
    USE(av_packet_alloc)              \
    USE(av_packet_clone)              \
    USE(av_packet_free)               \
    USE(av_packet_get_side_data)      \
    USE(av_packet_ref)                \
    USE(av_packet_unref)              \
    USE(av_parser_close)              \
    USE(av_parser_init)               \
    USE(av_parser_parse2)             \
    USE(av_probe_input_buffer2)       \
    USE(av_read_frame)                \
    USE(av_rescale_q)                 \
    USE(av_sample_fmt_is_planar)      \
    USE(av_seek_frame)                \
    USE(av_shrink_packet)             \
    USE(av_version_info)              \
    USE(avcodec_alloc_context3)       \
    USE(avcodec_descriptor_get)       \
    USE(avcodec_find_decoder)         \
    USE(avcodec_find_decoder_by_name) \
    USE(avcodec_free_context)         \
    USE(avcodec_get_name)             \
    USE(avcodec_open2)                \
    USE(avcodec_parameters_alloc)     \
    USE(avcodec_parameters_copy)      \
    USE(avcodec_parameters_free)      \
    USE(avcodec_parameters_to_context) \
    USE(avcodec_receive_frame)        \
    USE(avcodec_send_packet)          \
    USE(avformat_alloc_context)       \
    USE(avformat_close_input)         \
    USE(avformat_find_stream_info)    \
    USE(avformat_open_input)          \
    USE(avio_alloc_context)           \
    USE(avio_context_free)            \
    USE(swr_alloc_set_opts2)          \
    USE(swr_convert)                  \
    USE(swr_free)                     \
    USE(swr_get_out_samples)          \
    USE(swr_init)
// clang-format on

namespace zrh::media::detail {

/// The addresses of the functions.
struct FfmpegFunctions {
// NOLINTNEXTLINE(bugprone-macro-parentheses)
#define SONREL_FIELD(name) decltype(&::name) name;
    SONREL_FFMPEG_FUNCTIONS(SONREL_FIELD)
#undef SONREL_FIELD
};

}  // namespace zrh::media::detail

/// The functions of the FFmpeg that this object is linked with: the only export of the module
/// `ffmpeg.so`, which alone links FFmpeg, and a part of a program that links the media library
/// statically.
extern "C" SONREL_EXPORT const zrh::media::detail::FfmpegFunctions* SonrelFfmpegFunctions();
