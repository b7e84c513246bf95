#include <boost/smart_ptr/make_shared.hpp>
#include <cstring>

#include "Fixture.h"
#include "HardwareInterface.h"

namespace Zevrin {

namespace {

const char* const kComponents[] = {"IOBase", "PropertyManager", "Format7",  "Trigger",
                                   "Strobe", "DcamFormat",      "Iso",      "Info",
                                   "Lut",    "MemoryChannel",   "EventList"};

class LifecycleTest : public testing::Test {
  protected:
    LifecycleTest() { Script::Reset(); }
    ~LifecycleTest() override { Script::Reset(); }
    static int Holds() { return Singleton<BusMaster>::m_iRefCount; }
};

std::vector<std::string> Marked(char mark, std::size_t count) {
    std::vector<std::string> marked;
    for (std::size_t index = 0; index < count; ++index) {
        marked.push_back(mark + std::string(kComponents[index]));
    }
    return marked;
}

TEST_F(LifecycleTest, CreatesAndDestroysInOrderWithTheBusManagerLast) {
    std::vector<std::string> expected = Marked('+', 11);
    expected.push_back("+BusMaster");
    {
        const TestCamera camera;
        EXPECT_EQ(Script::Get().calls, expected);
        EXPECT_EQ(Holds(), 1);
        EXPECT_FALSE(camera.IsConnected());
        EXPECT_EQ(camera.GetGeneration(), 0xFFFFFFFFU);
        Script::Get().calls.clear();
    }
    expected = Marked('-', 11);
    expected.push_back("-BusMaster");
    EXPECT_EQ(Script::Get().calls, expected);
    EXPECT_EQ(Holds(), 0);
    EXPECT_EQ(Singleton<BusMaster>::m_pInstance, nullptr);

    Script::Get().calls.clear();
    const TestCamera again;
    EXPECT_EQ(Script::Get().calls.back(), "+BusMaster") << "a fresh bus manager";
}

TEST_F(LifecycleTest, ReleasesWhatItHasWhenACreationThrows) {
    std::vector<std::string> all(std::begin(kComponents), std::end(kComponents));
    all.push_back("BusMaster");
    for (std::size_t failing = 0; failing < all.size(); ++failing) {
        SCOPED_TRACE(all[failing]);
        Script::Reset();
        Script::Get().throwingConstructor = all[failing];
        EXPECT_THROW(TestCamera(), Script::ConstructorFailed);
        EXPECT_EQ(Script::Get().calls.size(), 2 * failing) << "created and destroyed alike";
        EXPECT_EQ(Holds(), 0);
        EXPECT_EQ(Singleton<BusMaster>::m_pInstance, nullptr);
    }
}

TEST_F(LifecycleTest, LeavesAComponentToItsOtherHolders) {
    boost::shared_ptr<Iso> pIso;
    {
        const TestCamera camera;
        pIso = camera.m_pIso;
        Script::Get().calls.clear();
    }
    EXPECT_EQ(Script::Get().calls.size(), 11U) << "ten components and the bus manager";
    pIso.reset();
    EXPECT_EQ(Script::Get().calls.back(), "-Iso");
}

TEST_F(LifecycleTest, HandsTheHandleToAllElevenEvenWhenOneFails) {
    TestCamera camera;
    EXPECT_EQ(camera.Connect(kSerialNumber), ERR_OK);
    Script::Get().generations = {kGeneration};
    const auto pHardware = boost::make_shared<HardwareInterface>();
    Script::Get().failures["IOBase::SetIO"] = ComponentFailure();
    Script::Get().failures["IOBase::ReleaseIO"] = ComponentFailure();
    Script::Get().calls.clear();
    EXPECT_EQ(camera.SetAllIO(pHardware, 0xF0000000U, 0xF0F00000U), ERR_OK);
    std::vector<std::string> expected;
    for (const char* name : kComponents) {
        const bool isEventList = std::strcmp(name, "EventList") == 0;
        expected.push_back(Script::CallText(isEventList ? "EventList::SetIO" : "IOBase::SetIO", name,
                                            pHardware.get(), 0xF0000000U, 0xF0F00000U));
    }
    EXPECT_EQ(Script::Get().calls, expected);

    Script::Get().calls.clear();
    EXPECT_EQ(camera.ReleaseAllIO(), ERR_OK);
    expected.clear();
    for (const char* name : kComponents) {
        expected.push_back(Script::CallText("IOBase::ReleaseIO", name));
    }
    EXPECT_EQ(Script::Get().calls, expected);
    EXPECT_EQ(camera.CheckValidity(), ERR_OK) << "connection, serial number and generation are untouched";
    EXPECT_EQ(pHardware.use_count(), 1);
}

TEST_F(LifecycleTest, GuardAsksForTheGenerationOfItsOwnSerialNumber) {
    TestCamera camera;
    Script::Get().generations = {0};
    EXPECT_EQ(camera.CheckValidity(), ERR_INVALID_GENERATION) << "never connected";
    EXPECT_EQ(Singleton<BusMaster>::m_pInstance->m_lastSerialNumber, 0U);
    Script::Get().generations = {0xFFFFFFFFU};
    EXPECT_EQ(camera.CheckValidity(), ERR_NOT_CONNECTED);

    EXPECT_EQ(camera.Connect(kSerialNumber), ERR_OK);
    Script::Get().generations = {kGeneration};
    EXPECT_EQ(camera.CheckValidity(), ERR_OK);
    EXPECT_EQ(Singleton<BusMaster>::m_pInstance->m_lastSerialNumber, kSerialNumber);
    camera.SetGeneration(kGeneration + 1);
    EXPECT_EQ(camera.CheckValidity(), ERR_INVALID_GENERATION);
    EXPECT_EQ(camera.GetGeneration(), kGeneration + 1);
    EXPECT_EQ(Holds(), 1);
}

/// The slot of a virtual operation (Itanium C++ ABI: a pointer to it holds the slot's offset plus one).
template <typename Operation>
long SlotOf(Operation operation) {
    std::ptrdiff_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return static_cast<long>((offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

TEST(VirtualOrder, FollowsTheTwoDestructors) {
    EXPECT_EQ(SlotOf(&CameraInternal::Connect), 2);
    EXPECT_EQ(SlotOf(&CameraInternal::Disconnect), 3);
    EXPECT_EQ(SlotOf(&CameraInternal::StartCapture), 4);
    EXPECT_EQ(SlotOf(&CameraInternal::GetConfiguration), 5);
    EXPECT_EQ(SlotOf(&CameraInternal::SetConfiguration), 6);
}

}  // namespace

}  // namespace Zevrin
