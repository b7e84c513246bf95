#include "Image.h"

#include <utility>

#include "FrameQueue.h"

namespace Zevrin {

namespace {

const FrameInfo kNoFrame;

const FrameInfo& InfoOf(const Frame* pFrame) noexcept {
    return pFrame != nullptr ? pFrame->info : kNoFrame;
}

}  // namespace

Image::~Image() {
    if (m_pFrame != nullptr) {
        m_pQueue->Release(m_pFrame);
    }
}

Image::Image(Image&& other) noexcept
    : m_pQueue(std::move(other.m_pQueue)), m_pFrame(std::exchange(other.m_pFrame, nullptr)) {}

Image& Image::operator=(Image&& other) noexcept {
    if (this != &other) {
        if (m_pFrame != nullptr) {
            m_pQueue->Release(m_pFrame);
        }
        m_pQueue = std::move(other.m_pQueue);
        m_pFrame = std::exchange(other.m_pFrame, nullptr);
    }
    return *this;
}

void Image::Hold(const boost::shared_ptr<FrameQueue>& pQueue, Frame* pFrame) noexcept {
    m_pQueue = pQueue;
    m_pFrame = pFrame;
}

Error Image::ReleaseBuffer() {
    if (m_pFrame != nullptr) {
        m_pQueue->Release(std::exchange(m_pFrame, nullptr));
        m_pQueue.reset();
    }
    return Error();
}

TimeStamp Image::GetTimeStamp() const {
    return InfoOf(m_pFrame).timeStamp;
}

const unsigned char* Image::GetData() const noexcept {
    return m_pFrame != nullptr ? m_pFrame->data : nullptr;
}

std::size_t Image::GetDataSize() const noexcept {
    return InfoOf(m_pFrame).receivedSize;
}

unsigned int Image::GetWidth() const noexcept {
    return InfoOf(m_pFrame).width;
}

unsigned int Image::GetHeight() const noexcept {
    return InfoOf(m_pFrame).height;
}

unsigned int Image::GetStride() const noexcept {
    return InfoOf(m_pFrame).stride;
}

PixelFormat Image::GetPixelFormat() const noexcept {
    return InfoOf(m_pFrame).pixelFormat;
}

BayerTileFormat Image::GetBayerTileFormat() const noexcept {
    return InfoOf(m_pFrame).bayerFormat;
}

bool Image::IsBigEndian() const noexcept {
    return InfoOf(m_pFrame).isBigEndian;
}

unsigned int Image::GetSignificantBits() const noexcept {
    return InfoOf(m_pFrame).significantBits;
}

unsigned long long Image::GetFrameId() const noexcept {
    return InfoOf(m_pFrame).frameId;
}

unsigned int Image::GetGaps() const noexcept {
    return InfoOf(m_pFrame).gaps;
}

bool Image::IsComplete() const noexcept {
    return m_pFrame != nullptr && m_pFrame->info.isComplete;
}

const std::vector<ByteRange>& Image::GetMissingParts() const noexcept {
    return InfoOf(m_pFrame).missing;
}

}  // namespace Zevrin
