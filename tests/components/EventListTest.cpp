#include "EventList.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "FakeHardware.h"
#include "RememberingHardware.h"
#include "SettingsMemory.h"
#include "support/Checks.h"

namespace Zevrin {
namespace {

class EventListTest : public testing::Test {
  protected:
    EventListTest() {
        m_pHardware->m_eventNames = {"ExposureStart", "ExposureEnd", "LinkDown"};
        m_pEvents->SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    }

    EventOptions MakeOptions(const char* name) {
        EventOptions options;
        options.callback = &Record;
        options.eventName = name;
        options.userData = this;
        return options;
    }
    int Register(const char* name) {
        EventOptions options = MakeOptions(name);
        return m_pEvents->RegisterEvent(&options);
    }
    int Deregister(const char* name) {
        EventOptions options = MakeOptions(name);
        return m_pEvents->DeregisterEvent(&options);
    }
    int RegisterAll() {
        EventOptions options = MakeOptions(nullptr);
        return m_pEvents->RegisterAllEvents(&options);
    }
    void Send(const char* name, unsigned int id = 0) { m_pHardware->SendEvent({name, id, 0, {}}); }

    /// What callbacks were told: name, number, time and data.
    std::vector<std::string> GetTold() {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        return m_told;
    }
    bool AwaitTold(std::size_t count) {
        return Await([&] { return GetTold().size() >= count; });
    }

    // What callbacks use outlives the list, whose end waits for the last of them.
    boost::mutex m_mutex;  // guards what was told
    std::vector<std::string> m_told;
    std::function<void()> m_action;  // runs within a callback, after the event has been noted
    std::atomic<bool> m_flag{false};
    bool m_hasEnded = false;  // not atomic on purpose: waiting for a callback must order the two threads
    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>();
    std::unique_ptr<EventList> m_pEvents = std::make_unique<EventList>();

  private:
    static void Record(const DeviceEvent* pEvent) {
        auto* const pSelf = static_cast<EventListTest*>(const_cast<void*>(pEvent->userData));
        std::string text =
            pEvent->name + (" " + std::to_string(pEvent->id)) + " " + std::to_string(pEvent->timeStamp);
        for (unsigned int byte = 0; byte < pEvent->dataSize; ++byte) {
            text += " " + std::to_string(pEvent->data[byte]);
        }
        {
            boost::lock_guard<boost::mutex> lock(pSelf->m_mutex);
            pSelf->m_told.push_back(text);
        }
        if (pSelf->m_action) {
            pSelf->m_action();
        }
    }
};

TEST_F(EventListTest, DeliversWhatIsRegisteredInOrder) {
    EXPECT_FALSE(m_pHardware->HasSink()) << "nobody wants events yet";
    ASSERT_EQ(Register("ExposureStart"), 0);
    ASSERT_EQ(Register("LinkDown"), 0);
    m_pHardware->SendEvent({"LinkDown", 0x9001, 12345678901ULL, {1, 2, 255}});
    Send("ExposureEnd");
    Send("ExposureStart", 2);
    ASSERT_TRUE(AwaitTold(2));
    EXPECT_EQ(GetTold(),
              (std::vector<std::string>{"LinkDown 36865 12345678901 1 2 255", "ExposureStart 2 0"}));
}

TEST_F(EventListTest, RefusesWhatCannotBeRegistered) {
    EXPECT_EQ(Register("ExposureStart"), EventList::kSuccess);
    EXPECT_EQ(Register("ExposureStart"), EventList::kAlreadyRegistered);
    EXPECT_EQ(Register("exposurestart%s"), EventList::kUnknownEvent);
    EXPECT_EQ(RegisterAll(), EventList::kAlreadyRegistered);
    EXPECT_EQ(Deregister("ExposureEnd"), EventList::kNotRegistered) << "nothing of all of them stayed";
    EXPECT_EQ(Deregister("ExposureStart"), EventList::kSuccess);
    EXPECT_FALSE(m_pHardware->HasSink());
    EXPECT_EQ(Deregister("ExposureStart"), EventList::kNotRegistered);

    EXPECT_EQ(RegisterAll(), EventList::kSuccess);
    EXPECT_EQ(Register("LinkDown"), EventList::kAlreadyRegistered);
    EXPECT_EQ(Deregister("LinkDown"), EventList::kSuccess);
    EXPECT_EQ(Register("LinkDown"), EventList::kSuccess);
    EXPECT_EQ(m_pEvents->DeregisterAllEvents(), EventList::kSuccess);
    EXPECT_FALSE(m_pHardware->HasSink());

    EventOptions options;
    for (const int status :
         {m_pEvents->RegisterEvent(nullptr), m_pEvents->RegisterEvent(&options),
          m_pEvents->RegisterAllEvents(&options), m_pEvents->DeregisterEvent(&options), Register(nullptr)}) {
        EXPECT_EQ(status, EventList::kInvalidOptions);
    }
    m_pHardware->m_eventNames.clear();
    EXPECT_EQ(RegisterAll(), EventList::kUnknownEvent);
}

TEST_F(EventListTest, AFailingTransportLeavesNothingRegistered) {
    for (const char* failing : {"GetEventNames", "SetEventSink"}) {
        m_pHardware->m_before = [failing](const std::string& operation) {
            return operation == failing ? Failure(ERR_NOT_SUPPORTED, "no events") : Error();
        };
        for (const bool all : {false, true}) {
            EXPECT_EQ(all ? RegisterAll() : Register("LinkDown"), EventList::kNotSupported) << failing;
            EXPECT_EQ(m_pEvents->DeregisterAllEvents(), EventList::kNotRegistered) << failing;
        }
    }
    m_pHardware->m_before = nullptr;
    EventList other;
    other.SetIO(m_pHardware, 0, 0);
    EXPECT_EQ(RegisterAll(), EventList::kSuccess);
    EventOptions options = MakeOptions("LinkDown");
    EXPECT_EQ(other.RegisterEvent(&options), EventList::kNotSupported) << "another object has the events";
    EXPECT_TRUE(m_pHardware->HasSink()) << "and keeps them";
    other.ReleaseIO();
    EXPECT_EQ(other.RegisterEvent(&options), EventList::kNotConnected);
    EXPECT_EQ(other.RegisterAllEvents(&options), EventList::kNotConnected);
}

TEST_F(EventListTest, WhatEndsARegistrationWaitsForARunningCallback) {
    const std::function<void()> ends[] = {[&] { EXPECT_EQ(Deregister("LinkDown"), 0); },
                                          [&] { EXPECT_EQ(m_pEvents->DeregisterAllEvents(), 0); },
                                          [&] { m_pEvents.reset(); }};
    for (const auto& end : ends) {
        m_hasEnded = false;
        m_action = [this] {
            EXPECT_TRUE(Await([&] { return !m_pHardware->HasSink(); }));
            for (int turn = 0; turn < 100; ++turn) {
                boost::this_thread::yield();
            }
            m_hasEnded = true;
        };
        const std::size_t before = GetTold().size();
        ASSERT_EQ(Register("LinkDown"), 0);
        Send("LinkDown");
        Send("LinkDown");
        ASSERT_TRUE(AwaitTold(before + 1));
        end();
        EXPECT_TRUE(m_hasEnded);
        EXPECT_EQ(GetTold().size(), before + 1) << "what waited is forgotten";
    }
}

TEST_F(EventListTest, ACallbackMayChangeWhatIsRegisteredAndDestroyTheList) {
    m_action = [this] {
        if (m_flag) {
            m_pEvents.reset();
            m_flag = false;
            return;
        }
        EXPECT_EQ(Deregister("LinkDown"), 0);
        EXPECT_EQ(Register("ExposureEnd"), 0);
        EXPECT_EQ(m_pEvents->DeregisterAllEvents(), 0);
        EXPECT_EQ(RegisterAll(), 0);
        m_flag = true;
    };
    ASSERT_EQ(Register("LinkDown"), 0);
    Send("LinkDown");
    ASSERT_TRUE(Await([&] { return m_flag.load(); }));
    Send("ExposureStart");
    Send("ExposureStart");
    EXPECT_TRUE(Await([&] { return !m_flag; }));
    EXPECT_FALSE(m_pHardware->HasSink());
}

TEST_F(EventListTest, KeepsTheNewestOfTooManyEvents) {
    m_action = [this] { EXPECT_TRUE(Await([&] { return m_flag.load(); })); };
    ASSERT_EQ(RegisterAll(), 0);
    Send("LinkDown", 0);
    ASSERT_TRUE(AwaitTold(1));
    for (unsigned int id = 1; id <= 300; ++id) {
        Send("LinkDown", id);
    }
    EXPECT_EQ(m_pEvents->GetNumOfEventsDropped(), 300U - 256U);
    m_flag = true;
    ASSERT_TRUE(AwaitTold(257));
    for (unsigned int place = 1; place <= 256; ++place) {
        EXPECT_EQ(GetTold()[place], "LinkDown " + std::to_string(44 + place) + " 0");
    }
}

TEST_F(EventListTest, FollowsTheConnection) {
    ASSERT_EQ(Register("LinkDown"), 0);
    m_action = [this, pOld = m_pHardware] { EXPECT_TRUE(Await([&] { return !pOld->HasSink(); })); };
    Send("LinkDown", 5);
    Send("LinkDown", 6);
    ASSERT_TRUE(AwaitTold(1));
    const auto pBefore = std::exchange(m_pHardware, boost::make_shared<FakeHardware>());
    m_pEvents->SetIO(m_pHardware, 0, 0);
    EXPECT_FALSE(pBefore->HasSink());
    Send("LinkDown", 7);
    ASSERT_TRUE(AwaitTold(2));
    static_cast<IOBase&>(*m_pEvents).ReleaseIO();
    EXPECT_EQ(m_pHardware.use_count(), 1) << "a released camera is not held";
    Send("LinkDown", 8);
    m_pEvents->SetIO(m_pHardware, 0, 0);
    Send("LinkDown", 9);
    ASSERT_TRUE(AwaitTold(3));
    EXPECT_EQ(GetTold(), (std::vector<std::string>{"LinkDown 5 0", "LinkDown 7 0", "LinkDown 9 0"}))
        << "neither what waited of the camera before nor anything while the handle was withdrawn";
    m_pEvents->SetIO(nullptr, 0, 0);
    EXPECT_FALSE(m_pHardware->HasSink());
    EXPECT_EQ(m_pHardware.use_count(), 1);
    m_pEvents->SetIO(
        boost::make_shared<RememberingHardware>(m_pHardware, boost::make_shared<SettingsMemory>()), 0, 0);
    EXPECT_TRUE(m_pHardware->HasSink());
    m_pEvents->SetIO(nullptr, 0, 0);
    EXPECT_FALSE(m_pHardware->HasSink()) << "nobody else held the handle";
    EXPECT_EQ(Deregister("LinkDown"), 0) << "needs no camera";
}

TEST_F(EventListTest, BearsUseFromManyThreads) {
    boost::thread_group threads;
    for (const char* name : {"ExposureStart", "ExposureEnd"}) {
        threads.create_thread([this, name] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_EQ(Register(name), 0);
                Send("ExposureStart");
                Send("ExposureEnd");
                EXPECT_EQ(Deregister(name), 0);
            }
        });
    }
    threads.join_all();
    EXPECT_FALSE(m_pHardware->HasSink());
}

}  // namespace
}  // namespace Zevrin
