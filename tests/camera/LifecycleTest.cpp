#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <cstring>
#include <iterator>

#include "Fixture.h"

namespace Zevrin {
namespace {

const char* const kComponents[] = {"IOBase", "PropertyManager", "Format7",  "Trigger",
                                   "Strobe", "DcamFormat",      "Iso",      "Info",
                                   "Lut",    "MemoryChannel",   "EventList"};

class LifecycleTest : public testing::Test {
  protected:
    ~LifecycleTest() override { m_script = Script::State(); }
    static int Holds() { return Singleton<BusMaster>::m_iRefCount; }
    /// What is made of the name of each component, in order.
    template <typename Make>
    static CallList OfEach(const Make& make) {
        CallList list;
        std::transform(std::begin(kComponents), std::end(kComponents), std::back_inserter(list), make);
        return list;
    }

    Script::State& m_script = Script::Get();
};

TEST_F(LifecycleTest, CreatesAndDestroysInOrderWithTheBusManagerLast) {
    const auto marked = [](char mark) {
        CallList list = OfEach([mark](const char* name) { return mark + std::string(name); });
        list.push_back(mark + std::string("BusMaster"));
        return list;
    };
    for (int round = 0; round < 2; ++round) {
        m_script.calls.clear();
        {
            const TestCamera camera;
            EXPECT_EQ(m_script.calls, marked('+')) << "with a fresh bus manager";
            EXPECT_EQ(Holds(), 1);
            EXPECT_FALSE(camera.IsConnected());
            EXPECT_EQ(camera.GetGeneration(), 0xFFFFFFFFU);
            m_script.calls.clear();
        }
        EXPECT_EQ(m_script.calls, marked('-'));
        EXPECT_EQ(Holds(), 0);
        EXPECT_EQ(Singleton<BusMaster>::m_pInstance, nullptr);
    }
}

TEST_F(LifecycleTest, ReleasesWhatItHasWhenACreationThrows) {
    CallList all = OfEach([](const char* name) { return name; });
    all.push_back("BusMaster");
    for (std::size_t failing = 0; failing < all.size(); ++failing) {
        SCOPED_TRACE(all[failing]);
        m_script.calls.clear();
        m_script.throwingConstructor = all[failing];
        EXPECT_THROW(TestCamera(), Script::ConstructorFailed);
        EXPECT_EQ(m_script.calls.size(), 2 * failing) << "created and destroyed alike";
        EXPECT_EQ(Holds(), 0);
    }
}

TEST_F(LifecycleTest, HandsTheHandleToAllElevenEvenWhenOneFails) {
    TestCamera camera;
    EXPECT_EQ(camera.Connect(kSerialNumber), ERR_OK);
    m_script.generations = {kGeneration};
    const auto pHardware = boost::make_shared<HardwareInterface>();
    m_script.failures["IOBase::SetIO"] = ComponentFailure();
    m_script.failures["IOBase::ReleaseIO"] = ComponentFailure();
    m_script.calls.clear();
    EXPECT_EQ(camera.SetAllIO(pHardware, 0xF0000000U, 0xF0F00000U), ERR_OK);
    CallList expected = OfEach([&](const char* name) {
        return Script::CallText("IOBase::SetIO", name, pHardware.get(), 0xF0000000U, 0xF0F00000U);
    });
    expected.back() = Script::CallText("EventList::SetIO", pHardware.get(), 0xF0000000U, 0xF0F00000U);
    EXPECT_EQ(m_script.calls, expected);

    m_script.calls.clear();
    EXPECT_EQ(camera.ReleaseAllIO(), ERR_OK);
    EXPECT_EQ(m_script.calls,
              OfEach([](const char* name) { return Script::CallText("IOBase::ReleaseIO", name); }));
    EXPECT_EQ(camera.CheckValidity(), ERR_OK) << "connection, serial number and generation are untouched";
    EXPECT_EQ(pHardware.use_count(), 1);
}

TEST_F(LifecycleTest, GuardAsksForTheGenerationOfItsOwnSerialNumber) {
    TestCamera camera;
    m_script.generations = {0};
    EXPECT_EQ(camera.CheckValidity(), ERR_INVALID_GENERATION) << "never connected";
    EXPECT_EQ(Singleton<BusMaster>::m_pInstance->m_lastSerialNumber, 0U);
    m_script.generations = {0xFFFFFFFFU};
    EXPECT_EQ(camera.CheckValidity(), ERR_NOT_CONNECTED);

    EXPECT_EQ(camera.Connect(kSerialNumber), ERR_OK);
    m_script.generations = {kGeneration};
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
