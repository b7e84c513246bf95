#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <cstring>
#include <regex>

#include "Fixture.h"

namespace Zevrin {
namespace {

using namespace std::string_literals;

/// The n-th camera of a synchronized start. Its calls are recorded with "n " before them.
class SyncCamera : public TestCamera {
  public:
    explicit SyncCamera(unsigned int number) : m_name(std::to_string(number) + " ") {
        EXPECT_EQ(Connect(kSerialNumber + number), ERR_OK);
        m_pIOBase->m_camera = m_name;
        m_pIso->m_camera = m_name;
    }
    Error StartCapture(ImageCallback callback, const void* pCallbackData) override {
        return Script::Answer(m_name, "Camera", "StartCapture", callback, pCallbackData);
    }
    Error SetConfiguration(const ZevrinConfig* pConfig) override {
        m_config = *pConfig;
        return Script::Answer(m_name, "Camera", "SetConfiguration");
    }

    const std::string m_name;
    ZevrinConfig m_config;
};

void OnImage(Image*, const void*) {}

// Of the register that switches transmission, after the number of the camera.
const std::string kOff = " IOBase::WriteRegister 1556 0 0";
const std::string kOn = " IOBase::WriteRegister 1556 2147483648 0";

class SyncCaptureTest : public testing::Test {
  protected:
    SyncCaptureTest() {
        m_script.generations = {kGeneration};
        m_script.isGrabStarted = true;
        m_script.interfaceTypes = {{kSerialNumber, 99}, {kSerialNumber + 1, 2}};
        m_script.onRetrieve = [this](const std::string& camera, Image* pImage) {
            const unsigned int number = static_cast<unsigned int>(std::stoul(camera));
            pImage->m_camera = camera;
            pImage->m_timeStamp = m_stamps.at(number);
            const boost::lock_guard<boost::mutex> lock(m_mutex);
            return ++m_retrievals.at(number) > 10 && m_retrievals.at(number) < m_answersFrom.at(number)
                       ? Error(ComponentFailure())
                       : Error();
        };
        MakeCameras(3);
    }
    ~SyncCaptureTest() override {
        m_cameras.clear();
        m_script = Script::State();
    }

    void MakeCameras(unsigned int count) {
        m_cameras.clear();
        for (unsigned int i = 0; i < count; ++i) {
            m_cameras.push_back(boost::make_shared<SyncCamera>(i));
        }
        m_stamps.assign(count, TimeStamp());
        m_retrievals.assign(count, 0);
        m_answersFrom.assign(count, 0);
        m_script.calls.clear();
    }

    Error Start(void (*const* callbacks)(Image*, const void*) = nullptr, const void** data = nullptr) {
        return CameraInternal::StartSyncCapture(static_cast<unsigned int>(m_cameras.size()), m_cameras,
                                                callbacks, data);
    }

    void Stamp(unsigned int camera, unsigned int seconds, unsigned int cycles) {
        m_stamps.at(camera).cycleSeconds = seconds;
        m_stamps.at(camera).cycleCount = cycles;
    }

    /// The record without addresses. What is repeated stands once, with the times.
    CallList Calls(const std::string& pattern) const {
        CallList calls;
        std::string last;
        int times = 0;
        for (const std::string& call : m_script.calls) {
            const std::string text = std::regex_replace(call, std::regex(" 0x[0-9a-f]{8,}"), "");
            if (std::regex_search(text, std::regex(pattern))) {
                times = text == last ? times + 1 : 1;
                calls.resize(calls.size() - (times > 1 ? 1 : 0));
                calls.push_back(text + (times > 1 ? " x" + std::to_string(times) : ""));
                last = text;
            }
        }
        return calls;
    }

    Script::State& m_script = Script::Get();
    std::vector<boost::shared_ptr<CameraInternal>> m_cameras;
    std::vector<TimeStamp> m_stamps;  ///< what each camera's images are stamped with
    boost::mutex m_mutex;             ///< guards m_retrievals against the grab threads
    std::vector<int> m_retrievals;
    std::vector<int> m_answersFrom;  ///< after the ten of draining: the first retrieval that gives an image
};

TEST_F(SyncCaptureTest, TakesItsStepsInOrder) {
    void (*callbacks[])(Image*, const void*) = {&OnImage, nullptr, &OnImage};
    const void* data[] = {&m_script, this, nullptr};
    m_script.failures["1 Camera::StartCapture"] =
        InternalError(1, "", "", "", ERR_ISOCH_ALREADY_STARTED, " ");
    for (const std::string& ignored :
         {"1" + kOff, "2" + kOn, "0 Image::ReleaseBuffer"s, "1 Iso::SetCallback"s}) {
        m_script.failures[ignored] = ComponentFailure();
    }
    const int holds = Singleton<BusMaster>::m_iRefCount;
    EXPECT_EQ(Start(callbacks, data), ERR_OK);
    EXPECT_EQ(Singleton<BusMaster>::m_iRefCount, holds);

    const CallList steps[] = {
        // each is taken for one camera after the other
        {"BusMaster::GetHwInterfaceFromSerialNumber 471#", "# Camera::SetConfiguration"},
        {"# Camera::StartCapture 0 0"},
        {"# Iso::RetrieveBuffer x10", "#" + kOff},
        {"# Image::ReleaseBuffer x10"},
        {"#" + kOn},
        {"# Iso::RetrieveBuffer"},
    };
    CallList expected;
    for (const CallList& step : steps) {
        for (const char camera : {'0', '1', '2'}) {
            for (std::string call : step) {
                std::replace(call.begin(), call.end(), '#', camera);
                expected.push_back(call);
            }
        }
    }
    CallList calls = Calls("BusMaster|Camera::|Retrieve|Release|WriteRegister 1556 ");
    ASSERT_EQ(calls.size(), expected.size());
    std::sort(calls.end() - 3, calls.end());  // of three threads
    EXPECT_EQ(calls, expected);
    CallList installed;
    for (unsigned int i = 0; i < 3; ++i) {
        installed.push_back(Script::CallText(std::to_string(i) + " Iso::SetCallback", callbacks[i], data[i]));
    }
    EXPECT_EQ(CallList(m_script.calls.end() - 3, m_script.calls.end()), installed);
    EXPECT_EQ(m_script.registers[0x12F8] & 1U, 1U) << "the time stamp is embedded";

    // Eleven fields of a word, and the reserved ones.
    std::vector<unsigned int> words = {10, 0, 0, 0xFFFFFFFEU, 1, 0, 13, 13, 3};
    words.resize(11 + 16);
    std::vector<unsigned int> held(words.size());
    ASSERT_EQ(sizeof(ZevrinConfig), held.size() * sizeof held[0]);
    std::memcpy(held.data(), &static_cast<SyncCamera&>(*m_cameras[2]).m_config, sizeof(ZevrinConfig));
    held[5] &= 0xFFU;
    EXPECT_EQ(held, words);
}

TEST_F(SyncCaptureTest, TouchesAsManyCamerasAsItIsToldAndComparesOneWithNone) {
    void (*const callbacks[])(Image*, const void*) = {&OnImage};
    const void* data[] = {&m_script};
    Stamp(0, 5, 100);
    EXPECT_EQ(CameraInternal::StartSyncCapture(1, m_cameras, callbacks, nullptr), ERR_OK);
    EXPECT_EQ(m_script.calls.back(), Script::CallText("0 Iso::SetCallback", &OnImage, "0"));
    EXPECT_EQ(CameraInternal::StartSyncCapture(1, m_cameras, nullptr, data), ERR_OK);
    EXPECT_EQ(m_script.calls.back(), Script::CallText("0 Iso::SetCallback 0", data[0]));
    EXPECT_TRUE(Calls("^[12] ").empty()) << "a vector may be longer";
    m_cameras[0].reset();
    EXPECT_DEATH(static_cast<void>(Start()), "px != 0");
}

TEST_F(SyncCaptureTest, FailsAsEachStepSays) {
    constexpr auto kNotStarted = "Could not start one of the cameras.";
    const struct {
        std::string failing;  ///< a call of the script
        ErrorType type;
        const char* text;
        int causes;
        CallList stops = {};
    } refusals[] = {
        {"BusMaster::GetHwInterfaceFromSerialNumber 4711", ERR_INTERFACE_NOT_FOUND,
         "Failed to retrieve camera interface.", 0},
        {"1 IOBase::ReadRegister", ERR_ISOCH_FAILED, "Could not get embedded image info.", 3},
        {"1 Iso::CacheEmbeddedImageInfo", ERR_ISOCH_FAILED, "Could not set embedded image info.", 2},
        {"1 Camera::SetConfiguration", ERR_ISOCH_FAILED,
         "Could not set the configuration to begin syncing cameras.", 1},
        {"0 Camera::StartCapture", ERR_ISOCH_START_FAILED, kNotStarted, 1},
        {"2 Camera::StartCapture", ERR_ISOCH_START_FAILED, kNotStarted, 1, {"2 Iso::StopCapture x2"}},
        {"2" + kOff, ERR_TIMESTAMP_FAILED, "Failed to retrieve timestamp information from image.", 0},
    };
    for (const auto& refusal : refusals) {
        SCOPED_TRACE(refusal.failing);
        MakeCameras(3);
        m_script.failures = {{refusal.failing, ComponentFailure()}};
        const int holds = Singleton<BusMaster>::m_iRefCount;
        const Error error = Start();
        EXPECT_TRUE(Says(error, refusal.type, refusal.text, refusal.causes));
        EXPECT_STREQ(error.GetSourceFile(), "CameraInternal.cpp");
        EXPECT_EQ(Calls("StopCapture"), refusal.stops);
        EXPECT_TRUE(Calls("SetCallback").empty());
        EXPECT_EQ(Singleton<BusMaster>::m_iRefCount, holds);
    }
}

TEST_F(SyncCaptureTest, RefusesGigeCamerasAndAcceptsEveryOtherInterface) {
    m_script.interfaceTypes[kSerialNumber + 2] = 3;
    EXPECT_TRUE(Says(Start(), ERR_NOT_SUPPORTED, "StartSyncCapture() with GigE Cameras is not supported."));
    EXPECT_EQ(Calls("Camera::"), (CallList{"0 Camera::SetConfiguration", "1 Camera::SetConfiguration"}))
        << "what was prepared stays so";
}

TEST_F(SyncCaptureTest, OnlyPausesWithoutCamerasAndRefusesMoreThanThereAreOrCanBe) {
    const auto before = boost::posix_time::microsec_clock::universal_time();
    EXPECT_EQ(CameraInternal::StartSyncCapture(0, m_cameras, nullptr, nullptr), ERR_OK);
    EXPECT_GE(boost::posix_time::microsec_clock::universal_time() - before,
              boost::posix_time::milliseconds(549));
    EXPECT_TRUE(Says(CameraInternal::StartSyncCapture(4, m_cameras, nullptr, nullptr), ERR_INVALID_PARAMETER,
                     "4 cameras are to be started in step, but only 3 are given."));
    EXPECT_TRUE(m_script.calls.empty());
    MakeCameras(65);
    EXPECT_TRUE(
        Says(Start(), ERR_INVALID_PARAMETER, "65 cameras are to be started in step, but at most 64 can."));
    EXPECT_TRUE(m_script.calls.empty());
}

TEST_F(SyncCaptureTest, AsksACameraElevenTimes) {
    m_answersFrom = {0, 21, 1000};
    EXPECT_EQ(Start(), ERR_OK) << "without an image they are all at 0";
    EXPECT_EQ(m_retrievals, (std::vector<int>{11, 21, 21}));
}

TEST_F(SyncCaptureTest, ToleratesFiveCyclesOnBothSidesAndAcrossTheWrap) {
    const struct {
        unsigned int first[2];
        unsigned int other[2];
        bool inStep;
    } pairs[] = {
        {{5, 100}, {5, 105}, true},  {{5, 105}, {5, 100}, true},   {{5, 7998}, {6, 3}, true},
        {{127, 7998}, {0, 2}, true}, {{0, 2}, {127, 7997}, true},  {{5, 100}, {5, 106}, false},
        {{5, 106}, {5, 100}, false}, {{127, 7998}, {0, 4}, false}, {{0, 4}, {127, 7998}, false},
        {{5, 100}, {6, 100}, false}, {{0, 0}, {64, 0}, false},
    };
    for (const auto& pair : pairs) {
        SCOPED_TRACE(testing::Message() << pair.first[0] << ' ' << pair.first[1] << " and " << pair.other[0]
                                        << ' ' << pair.other[1]);
        MakeCameras(3);
        Stamp(0, pair.first[0], pair.first[1]);
        Stamp(1, pair.other[0], pair.other[1]);
        m_stamps[2] = m_stamps[0];
        EXPECT_EQ(Start(), pair.inStep ? ERR_OK : ERR_ISOCH_SYNC_FAILED);
        const CallList all = {"0 Iso::StopCapture", "1 Iso::StopCapture", "2 Iso::StopCapture"};
        EXPECT_EQ(Calls("StopCapture"), pair.inStep ? CallList() : all);
    }
}

}  // namespace
}  // namespace Zevrin
