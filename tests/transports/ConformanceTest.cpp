#include "Conformance.h"

#include <gtest/gtest.h>

#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include "FrameQueue.h"
#include "Image.h"
#include "Iso.h"

namespace Zevrin {
namespace {

constexpr auto kDeadline = boost::chrono::seconds(30);

class ConformanceTest : public testing::Test {
  protected:
    void SetUp() override {
        m_pRig = MakeConformanceRig();
        ASSERT_NE(m_pRig, nullptr);
        m_pCamera = m_pRig->GetCamera();
        ASSERT_NE(m_pCamera, nullptr);
        ASSERT_EQ(m_pCamera->Open(), ERR_OK);
    }
    void TearDown() override { m_pCamera->Close(); }
    Error Write(const unsigned int* pValues, unsigned int count, bool broadcast = false) {
        return m_pCamera->WriteQuadlets(m_pRig->GetScratchHigh(), m_pRig->GetScratchLow(), pValues, count,
                                        broadcast);
    }
    Error Read(unsigned int* pValues, unsigned int count) {
        return m_pCamera->ReadQuadlets(m_pRig->GetScratchHigh(), m_pRig->GetScratchLow(), pValues, count);
    }
    /// A stream component on the opened camera.
    std::unique_ptr<Iso> MakeStream() {
        auto pIso = std::make_unique<Iso>();
        const RegisterBases bases = m_pCamera->GetRegisterBases();
        pIso->SetIO(m_pCamera, bases.initialRegisterSpace, bases.commandRegisters);
        return pIso;
    }
    /// The next image, letting time pass as the rig does.
    Error Await(Iso& iso, Image* pImage) {
        const auto deadline = boost::chrono::steady_clock::now() + kDeadline;
        Error error;
        do {
            m_pRig->LetTimePass();
            error = iso.WaitForBufferEvent(pImage, 100);
        } while (error == ERR_TIMEOUT && boost::chrono::steady_clock::now() < deadline);
        return error;
    }

    std::unique_ptr<ConformanceRig> m_pRig;
    boost::shared_ptr<HardwareInterface> m_pCamera;
};

TEST_F(ConformanceTest, HasAnIdentityAndABusTimeWithinItsFields) {
    EXPECT_NE(m_pCamera->GetIdentity().serialNumber, 0U);
    EXPECT_EQ(m_pCamera->GetIdentity().interfaceType, m_pCamera->GetInterfaceType());
    TimeStamp stamp;
    ASSERT_EQ(m_pCamera->GetBusTime(&stamp), ERR_OK);
    EXPECT_LT(stamp.microSeconds, 1000000U);
    EXPECT_LT(stamp.cycleSeconds, 128U);
    EXPECT_LT(stamp.cycleCount, 8000U);
    EXPECT_LT(stamp.cycleOffset, 3072U);
    unsigned int errors = 0;
    EXPECT_EQ(m_pCamera->GetPortErrors(&errors), ERR_OK);
}

TEST_F(ConformanceTest, AccessNeedsAnOpenCameraAndOpeningCounts) {
    const CameraIdentity open = m_pCamera->GetIdentity();
    unsigned int value = 0;
    ASSERT_EQ(m_pCamera->Open(), ERR_OK);
    m_pCamera->Close();
    EXPECT_EQ(Read(&value, 1), ERR_OK);
    m_pCamera->Close();
    EXPECT_EQ(Read(&value, 1), ERR_NOT_CONNECTED);
    EXPECT_EQ(Write(&value, 1), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_pCamera->GetIdentity().serialNumber, open.serialNumber);
    EXPECT_EQ(m_pCamera->GetIdentity().modelName, open.modelName);
    EXPECT_EQ(m_pCamera->Open(), ERR_OK) << "and it can be opened again";
}

TEST_F(ConformanceTest, WhatIsWrittenIsReadBackBitForBit) {
    const unsigned int patterns[4] = {0x12345678U, 0x80000001U, 0xFFFFFFFFU, 0x00FF0000U};
    ASSERT_EQ(Write(patterns, 4), ERR_OK);
    unsigned int run[4] = {};
    EXPECT_EQ(Read(run, 4), ERR_OK);
    for (unsigned int index = 0; index < 4; ++index) {
        EXPECT_EQ(run[index], patterns[index]);
        unsigned int single = 0;
        EXPECT_EQ(m_pCamera->ReadQuadlets(m_pRig->GetScratchHigh(), m_pRig->GetScratchLow() + 4 * index,
                                          &single, 1),
                  ERR_OK);
        EXPECT_EQ(single, patterns[index]) << "the same alone as in a run";
    }
    const unsigned int one = 0xA5A5A5A5U;
    const Error broadcast = Write(&one, 1, true);
    EXPECT_TRUE(broadcast == ERR_OK || broadcast == ERR_NOT_SUPPORTED) << broadcast.GetDescription();
    EXPECT_EQ(Read(run, 1), ERR_OK);
    EXPECT_EQ(run[0], broadcast == ERR_OK ? one : patterns[0]);
}

TEST_F(ConformanceTest, StreamsWholeFramesIntoTheBuffersItIsGivenAndAccountsForAll) {
    StreamFormat format;
    ASSERT_EQ(m_pCamera->GetStreamFormat(&format), ERR_OK);
    const std::size_t pixels = std::size_t{format.width} * format.height;
    ASSERT_GE(format.payloadSize, pixels * GetBitsPerPixel(format.pixelFormat) / 8);
    ASSERT_GT(pixels, 0U);

    constexpr int kBuffers = 6;
    std::vector<unsigned char> memory(kBuffers * format.payloadSize);
    for (int round = 0; round < 2; ++round) {  // where a stream was stopped, one can be started again
        const auto pIso = MakeStream();
        ASSERT_EQ(pIso->SetUserBuffers(memory.data(), static_cast<int>(format.payloadSize), kBuffers),
                  ERR_OK);
        ASSERT_EQ(pIso->StartCapture(ZevrinConfig(), nullptr, nullptr), ERR_OK);
        unsigned long long firstId = 0;
        unsigned long long lastId = 0;
        for (unsigned int count = 0; count < 20; ++count) {
            Image image;
            ASSERT_EQ(Await(*pIso, &image), ERR_OK);
            EXPECT_GE(image.GetData(), memory.data());
            EXPECT_LT(image.GetData(), memory.data() + memory.size());
            EXPECT_TRUE(image.IsComplete());
            EXPECT_EQ(image.GetWidth(), format.width);
            EXPECT_EQ(image.GetHeight(), format.height);
            EXPECT_EQ(image.GetPixelFormat(), format.pixelFormat);
            EXPECT_GE(image.GetDataSize(), std::size_t{image.GetStride()} * (image.GetHeight() - 1));
            EXPECT_TRUE(count == 0 || image.GetFrameId() > lastId);
            firstId = count == 0 ? image.GetFrameId() : firstId;
            lastId = image.GetFrameId();
        }
        const unsigned int lost =
            pIso->GetNumOfImageDropped() + pIso->GetNumOfImageCorrupt() + pIso->GetNumOfImageDriverDropped();
        EXPECT_EQ(pIso->GetNumOfImageDelivered(), 20U);
        EXPECT_GE(20U + lost, lastId - firstId + 1) << "a gap in the numbers is a counted loss";
        EXPECT_EQ(pIso->StopCapture(), ERR_OK);
    }
}

TEST_F(ConformanceTest, OneStreamAtATimeAndStoppingAnotherDoesNothing) {
    const auto pOther = boost::make_shared<FrameQueue>(1, 1, GRAB_IN_ORDER, false, nullptr,
                                                       boost::make_shared<FrameCounters>());
    m_pCamera->StopStream(pOther);
    const auto pFirst = MakeStream();
    const auto pSecond = MakeStream();
    ASSERT_EQ(pFirst->StartCapture(ZevrinConfig(), nullptr, nullptr), ERR_OK);
    EXPECT_EQ(pSecond->StartCapture(ZevrinConfig(), nullptr, nullptr), ERR_ISOCH_ALREADY_STARTED);
    EXPECT_FALSE(m_pCamera->IsStreaming(pOther));
    m_pCamera->StopStream(pOther);
    Image image;
    for (int count = 0; count < 20; ++count) {  // more than were under way
        ASSERT_EQ(Await(*pFirst, &image), ERR_OK) << "the first one goes on";
    }
    EXPECT_EQ(pFirst->StopCapture(), ERR_OK);
    EXPECT_EQ(pSecond->StartCapture(ZevrinConfig(), nullptr, nullptr), ERR_OK);
    EXPECT_EQ(pSecond->StopCapture(), ERR_OK);
    EXPECT_TRUE(image.HasData()) << "an image outlives its stream";
}

}  // namespace
}  // namespace Zevrin
