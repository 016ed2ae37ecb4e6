#include "CQCommProtocol/TxContext.h"

#include <algorithm>
#include <limits>

namespace ovk {
namespace {

/// 0 for a stream that cannot tell.
std::size_t bytesLeft(std::istream& stream) {
    const auto position = stream.tellg();
    if (position == std::istream::pos_type(-1)) {
        stream.clear();
        return 0;
    }
    stream.seekg(0, std::ios::end);
    const auto end = stream.tellg();
    stream.clear();
    stream.seekg(position);
    return position < end ? static_cast<std::size_t>(end - position) : 0;
}

}  // namespace

void TxContext::start(std::uint8_t operation, std::span<const std::uint8_t> data,
                      std::shared_ptr<std::istream> stream) {
    clear();
    operation_ = operation;
    buffer_.reserve(1 + data.size());
    buffer_.push_back(operation);
    buffer_.insert(buffer_.end(), data.begin(), data.end());
    const std::size_t total = data.size() + (stream ? bytesLeft(*stream) : 0);
    totalSize_ = static_cast<std::int32_t>(
        std::min<std::size_t>(total, std::numeric_limits<std::int32_t>::max()));
    stream_ = std::move(stream);
}

std::shared_ptr<const DataPacket> TxContext::buildPacket(std::uint8_t session) {
    const std::size_t chunkSize = maxPacket_ - wire::kDataOverhead;
    refill(chunkSize);
    if (lastPacket_) {
        ++sequence_;
    }
    const std::size_t count = std::min(bufferedBytes(), chunkSize);
    const bool isLast = count == bufferedBytes() && !stream_;
    lastPacket_ = std::make_shared<const DataPacket>(session, sequence_, isLast,
                                                     std::span(buffer_).subspan(sentBytes_, count));
    sentBytes_ += count;
    return lastPacket_;
}

void TxContext::refill(std::size_t chunkSize) {
    if (!stream_ || bufferedBytes() >= chunkSize) {
        return;
    }
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(sentBytes_));
    sentBytes_ = 0;
    const std::size_t kept = buffer_.size();
    buffer_.resize(chunkSize);
    stream_->read(reinterpret_cast<char*>(buffer_.data() + kept),
                  static_cast<std::streamsize>(chunkSize - kept));
    buffer_.resize(kept + static_cast<std::size_t>(stream_->gcount()));
    if (!*stream_ || stream_->peek() == std::istream::traits_type::eof()) {
        stream_.reset();
    }
}

void TxContext::clear() {
    totalSize_ = -1;
    operation_ = 0;
    sequence_ = 0;
    buffer_.clear();
    sentBytes_ = 0;
    stream_.reset();
    lastPacket_.reset();
}

}  // namespace ovk
