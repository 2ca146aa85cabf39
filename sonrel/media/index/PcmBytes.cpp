// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PcmBytes.h"

namespace zrh::media::detail {
namespace {

/// Whether the stored bytes of a codec equal the output of its decoder.
bool IsNativeCodec(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_PCM_U8:
        case AV_CODEC_ID_PCM_S16LE:
        case AV_CODEC_ID_PCM_S32LE:
        case AV_CODEC_ID_PCM_F32LE:
        case AV_CODEC_ID_PCM_F64LE:
            return true;
        default:
            return false;
    }
}

}  // namespace

bool StoresView(AVCodecID codec) {
    return IsNativeCodec(codec) || codec == AV_CODEC_ID_PCM_S24LE;
}

PcmBytes::PcmBytes(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
    : file_(std::move(file)),
      index_(std::move(index)),
      native_(IsNativeCodec(index_->parameters->codec_id)),
      packet_(NewPacket()) {
    if (!native_) decoder_ = PacketDecoder::Open(*index_->parameters, index_->timeBase);
}

int PcmBytes::ReadRaw(std::int64_t start, int count, void* buffer) const {
    const PcmLayout& layout = *index_->pcm;
    const std::int64_t got = file_->ReadAt(
        layout.offset + start * layout.bytesPerFrame, buffer,
        static_cast<std::size_t>(count) * static_cast<std::size_t>(layout.bytesPerFrame));
    return got < 0 ? -1 : static_cast<int>(got / layout.bytesPerFrame);
}

bool PcmBytes::Decode(std::int64_t start, int count, SampleBlock* block) {
    const auto bytesPerFrame = static_cast<std::size_t>(index_->pcm->bytesPerFrame);
    if (native_) {
        raw_.resize(static_cast<std::size_t>(count) * bytesPerFrame);
        const int got = ReadRaw(start, count, raw_.data());
        plane_ = raw_.data();
        *block = {&plane_, 0, got};
        return got > 0;
    }
    if (decoder_ == nullptr) return false;
    av_packet_unref(packet_.get());
    pool_.Allocate(static_cast<std::size_t>(count) * bytesPerFrame, packet_.get());
    const int got = ReadRaw(start, count, packet_->data);
    if (got <= 0) return false;
    if (got < count) av_shrink_packet(packet_.get(), got * static_cast<int>(bytesPerFrame));
    decoder_->Decode(packet_.get());
    if (decoder_->FrameCount() != 1 || decoder_->Frame(0).nb_samples != got) return false;
    *block = {decoder_->Frame(0).extended_data, 0, got};
    return true;
}

}  // namespace zrh::media::detail
