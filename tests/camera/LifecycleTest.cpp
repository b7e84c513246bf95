#include <boost/smart_ptr/make_shared.hpp>
#include <cstring>

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
        for (const char* name : kComponents) {
            list.push_back(make(std::string(name)));
        }
        return list;
    }

    Script::State& m_script = Script::Get();
};

TEST_F(LifecycleTest, CreatesAndDestroysInOrderWithTheBusManagerLast) {
    CallList created = OfEach([](const std::string& name) { return "+" + name; });
    CallList destroyed = OfEach([](const std::string& name) { return "-" + name; });
    created.push_back("+BusMaster");
    destroyed.push_back("-BusMaster");
    for (int round = 0; round < 2; ++round) {
        m_script.calls.clear();
        {
            const TestCamera camera;
            EXPECT_EQ(m_script.calls, created) << "with a fresh bus manager";
            EXPECT_EQ(Holds(), 1);
            EXPECT_EQ(camera.CheckValidity(), ERR_INVALID_GENERATION) << "before the connection is looked at";
            m_script.generations = {0xFFFFFFFFU};
            EXPECT_EQ(camera.CheckValidity(), ERR_NOT_CONNECTED);
            m_script.generations.clear();
            m_script.calls.clear();
        }
        EXPECT_EQ(m_script.calls, destroyed);
        EXPECT_EQ(Holds(), 0);
        EXPECT_EQ(Singleton<BusMaster>::m_pInstance, nullptr);
    }
    for (std::size_t failing = 0; failing < created.size(); ++failing) {
        m_script.calls.clear();
        m_script.throwingConstructor = created[failing].substr(1);
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
    m_script.failures = {{"IOBase::SetIO", ComponentFailure()}, {"IOBase::ReleaseIO", ComponentFailure()}};
    m_script.calls.clear();
    EXPECT_EQ(camera.SetAllIO(pHardware, 0xF0000000U, 0xF0F00000U), ERR_OK);
    EXPECT_EQ(camera.ReleaseAllIO(), ERR_OK);
    CallList expected = OfEach([&](const std::string& name) {
        return Script::CallText("IOBase::SetIO", name, pHardware.get(), 0xF0000000U, 0xF0F00000U);
    });
    expected.back() = Script::CallText("EventList::SetIO", pHardware.get(), 0xF0000000U, 0xF0F00000U);
    const CallList released = OfEach([](const std::string& name) { return "IOBase::ReleaseIO " + name; });
    expected.insert(expected.end(), released.begin(), released.end());
    EXPECT_EQ(m_script.calls, expected);
    EXPECT_EQ(camera.CheckValidity(), ERR_OK) << "connection, serial number and generation are untouched";
    EXPECT_EQ(pHardware.use_count(), 1);
    camera.m_pIOBase.reset();
    EXPECT_DEATH(static_cast<void>(camera.SetAllIO(nullptr, 0, 0)), "px != 0");
    EXPECT_DEATH(static_cast<void>(camera.ReleaseAllIO()), "px != 0");
}

/// The slot of a virtual operation (Itanium C++ ABI: a pointer to it holds the slot's offset plus one).
template <typename Operation>
std::size_t SlotOf(Operation operation) {
    std::size_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset - 1) / sizeof(void*);
}

TEST(VirtualOrder, FollowsTheTwoDestructors) {
    using C = CameraInternal;
    EXPECT_EQ((std::vector<std::size_t>{SlotOf(&C::Connect), SlotOf(&C::Disconnect), SlotOf(&C::StartCapture),
                                        SlotOf(&C::GetConfiguration), SlotOf(&C::SetConfiguration)}),
              (std::vector<std::size_t>{2, 3, 4, 5, 6}));
}

}  // namespace
}  // namespace Zevrin
