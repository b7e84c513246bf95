#include "EventList.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "Failure.h"
#include "FakeHardware.h"
#include "support/Checks.h"

namespace Zevrin {
namespace {

/// What a callback was told, and what it does.
class Recorder {
  public:
    struct Entry {
        std::string name;
        unsigned int id;
        unsigned long long timeStamp;
        std::vector<unsigned char> data;
        boost::thread::id thread;
    };

    EventOptions MakeOptions(const char* name) {
        EventOptions options;
        options.callback = &Record;
        options.eventName = name;
        options.userData = this;
        return options;
    }

    bool WaitFor(std::size_t count) {
        return Await([&] { return Get().size() >= count; });
    }
    std::vector<Entry> Get() {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        return m_entries;
    }

    /// Runs within the callback, after the event has been recorded.
    std::function<void()> m_action;

  private:
    static void Record(const DeviceEvent* pEvent) {
        auto* const pSelf = static_cast<Recorder*>(const_cast<void*>(pEvent->userData));
        {
            boost::lock_guard<boost::mutex> lock(pSelf->m_mutex);
            pSelf->m_entries.push_back({pEvent->name,
                                        pEvent->id,
                                        pEvent->timeStamp,
                                        {pEvent->data, pEvent->data + pEvent->dataSize},
                                        boost::this_thread::get_id()});
        }
        if (pSelf->m_action) {
            pSelf->m_action();
        }
    }

    boost::mutex m_mutex;  // guards what follows
    std::vector<Entry> m_entries;
};

class EventListTest : public testing::Test {
  protected:
    EventListTest() {
        m_pHardware->m_eventNames = {"ExposureStart", "ExposureEnd", "LinkDown"};
        m_pEvents->SetIO(m_pHardware, 0xF0000000U, 0xF0F00000U);
    }

    int Register(const char* name) {
        EventOptions options = m_recorder.MakeOptions(name);
        return m_pEvents->RegisterEvent(&options);
    }
    int Deregister(const char* name) {
        EventOptions options;
        options.eventName = name;
        return m_pEvents->DeregisterEvent(&options);
    }
    int RegisterAll() {
        EventOptions options = m_recorder.MakeOptions(nullptr);
        return m_pEvents->RegisterAllEvents(&options);
    }
    void Send(const char* name, unsigned int id = 0) { m_pHardware->SendEvent({name, id, 1000ULL + id, {}}); }

    // What callbacks use outlives the list, whose end waits for the last of them.
    std::atomic<bool> m_flag{false};
    bool m_hasEnded = false;  // not atomic on purpose: waiting for a callback must order the two threads
    Recorder m_recorder;
    boost::shared_ptr<FakeHardware> m_pHardware = boost::make_shared<FakeHardware>();
    std::unique_ptr<EventList> m_pEvents = std::make_unique<EventList>();
};

TEST_F(EventListTest, DeliversWhatIsRegisteredInOrderOnItsOwnThread) {
    EXPECT_FALSE(m_pHardware->HasSink()) << "nobody wants events yet";
    ASSERT_EQ(Register("ExposureStart"), 0);
    ASSERT_EQ(Register("LinkDown"), 0);
    m_pHardware->SendEvent({"LinkDown", 0x9001, 12345678901ULL, {1, 2, 255}});
    Send("ExposureEnd");
    Send("ExposureStart", 2);
    ASSERT_TRUE(m_recorder.WaitFor(2));
    const std::vector<Recorder::Entry> entries = m_recorder.Get();
    ASSERT_EQ(entries.size(), 2U) << "ExposureEnd is not registered";
    EXPECT_EQ(entries[0].name, "LinkDown");
    EXPECT_EQ(entries[0].id, 0x9001U);
    EXPECT_EQ(entries[0].timeStamp, 12345678901ULL);
    EXPECT_EQ(entries[0].data, (std::vector<unsigned char>{1, 2, 255}));
    EXPECT_EQ(entries[1].name, "ExposureStart");
    EXPECT_EQ(entries[0].thread, entries[1].thread);
    EXPECT_NE(entries[0].thread, boost::this_thread::get_id());
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
    EXPECT_EQ(m_pEvents->DeregisterAllEvents(), EventList::kNotRegistered);

    EXPECT_EQ(RegisterAll(), EventList::kSuccess);
    EXPECT_EQ(RegisterAll(), EventList::kAlreadyRegistered);
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
    for (const char* operation : {"GetEventNames", "SetEventSink"}) {
        for (const bool all : {false, true}) {
            m_pHardware->FailNext(operation, Failure(ERR_NOT_SUPPORTED, "no events"));
            EXPECT_EQ(all ? RegisterAll() : Register("LinkDown"), EventList::kNotSupported) << operation;
            EXPECT_EQ(m_pEvents->DeregisterAllEvents(), EventList::kNotRegistered) << operation;
        }
    }
    EventList other;
    other.SetIO(m_pHardware, 0, 0);
    EXPECT_EQ(RegisterAll(), EventList::kSuccess);
    EventOptions options = m_recorder.MakeOptions("LinkDown");
    EXPECT_EQ(other.RegisterEvent(&options), EventList::kNotSupported) << "another object has the events";
    EXPECT_TRUE(m_pHardware->HasSink()) << "and keeps them";
    other.ReleaseIO();
    EXPECT_EQ(other.RegisterEvent(&options), EventList::kNotConnected);
    EXPECT_EQ(other.RegisterAllEvents(&options), EventList::kNotConnected);
}

TEST_F(EventListTest, DeregistrationWaitsForARunningCallback) {
    for (const bool all : {false, true}) {
        m_hasEnded = false;
        m_recorder.m_action = [this] {
            EXPECT_TRUE(Await([&] { return !m_pHardware->HasSink(); }));
            for (int turn = 0; turn < 100; ++turn) {
                boost::this_thread::yield();
            }
            m_hasEnded = true;
        };
        const std::size_t before = m_recorder.Get().size();
        ASSERT_EQ(Register("LinkDown"), 0);
        Send("LinkDown");
        Send("LinkDown");
        ASSERT_TRUE(m_recorder.WaitFor(before + 1));
        EXPECT_EQ(all ? m_pEvents->DeregisterAllEvents() : Deregister("LinkDown"), 0);
        EXPECT_TRUE(m_hasEnded);
        EXPECT_EQ(m_recorder.Get().size(), before + 1) << "what waited is forgotten";
    }
}

TEST_F(EventListTest, ACallbackMayChangeWhatIsRegistered) {
    m_recorder.m_action = [this] {
        if (m_flag) {
            return;
        }
        EXPECT_EQ(Deregister("LinkDown"), 0);
        EXPECT_EQ(Register("ExposureEnd"), 0);
        EXPECT_EQ(m_pEvents->DeregisterAllEvents(), 0);
        EXPECT_EQ(Register("ExposureStart"), 0);
        m_flag = true;
    };
    ASSERT_EQ(Register("LinkDown"), 0);
    Send("LinkDown");
    ASSERT_TRUE(Await([&] { return m_flag.load(); }));
    Send("ExposureStart");
    EXPECT_TRUE(m_recorder.WaitFor(2));
}

TEST_F(EventListTest, CanBeDestroyedWhileACallbackRunsAndFromWithinOne) {
    m_recorder.m_action = [this] {
        EXPECT_TRUE(Await([&] { return !m_pHardware->HasSink(); }));
        m_hasEnded = true;
    };
    ASSERT_EQ(Register("LinkDown"), 0);
    Send("LinkDown");
    ASSERT_TRUE(m_recorder.WaitFor(1));
    m_pEvents.reset();
    EXPECT_TRUE(m_hasEnded);

    m_pEvents = std::make_unique<EventList>();
    m_pEvents->SetIO(m_pHardware, 0, 0);
    m_recorder.m_action = [this] {
        m_pEvents.reset();
        m_flag = true;
    };
    ASSERT_EQ(RegisterAll(), 0);
    Send("LinkDown");
    Send("LinkDown");
    EXPECT_TRUE(Await([&] { return m_flag.load(); }));
    EXPECT_FALSE(m_pHardware->HasSink());
}

TEST_F(EventListTest, KeepsTheNewestOfTooManyEvents) {
    m_recorder.m_action = [this] { EXPECT_TRUE(Await([&] { return m_flag.load(); })); };
    ASSERT_EQ(RegisterAll(), 0);
    Send("LinkDown", 0);
    ASSERT_TRUE(m_recorder.WaitFor(1));
    for (unsigned int id = 1; id <= 300; ++id) {
        Send(id % 2 == 0 ? "LinkDown" : "ExposureEnd", id);
    }
    EXPECT_EQ(m_pEvents->GetNumOfEventsDropped(), 300U - 256U);
    m_flag = true;
    ASSERT_TRUE(m_recorder.WaitFor(257));
    const std::vector<Recorder::Entry> entries = m_recorder.Get();
    for (std::size_t index = 1; index < entries.size(); ++index) {
        EXPECT_EQ(entries[index].id, 44 + index);
    }
}

TEST_F(EventListTest, FollowsTheConnection) {
    ASSERT_EQ(Register("LinkDown"), 0);
    const auto pOther = boost::make_shared<FakeHardware>();
    m_pEvents->SetIO(pOther, 0, 0);
    EXPECT_FALSE(m_pHardware->HasSink());
    pOther->SendEvent({"LinkDown", 7, 0, {}});
    ASSERT_TRUE(m_recorder.WaitFor(1));

    static_cast<IOBase&>(*m_pEvents).ReleaseIO();
    EXPECT_EQ(pOther.use_count(), 1) << "a released camera is not held";
    pOther->SendEvent({"LinkDown", 8, 0, {}});
    m_pEvents->SetIO(pOther, 0, 0);
    pOther->SendEvent({"LinkDown", 9, 0, {}});
    ASSERT_TRUE(m_recorder.WaitFor(2));
    EXPECT_EQ(m_recorder.Get()[1].id, 9U) << "nothing while the handle was withdrawn";

    m_pEvents->SetIO(nullptr, 0, 0);
    EXPECT_FALSE(pOther->HasSink());
    EXPECT_EQ(pOther.use_count(), 1);
    EXPECT_EQ(Deregister("LinkDown"), 0) << "needs no camera";
}

TEST_F(EventListTest, BearsUseFromManyThreads) {
    std::atomic<bool> isOver{false};
    boost::thread_group threads;
    for (const char* name : {"ExposureStart", "ExposureEnd"}) {
        threads.create_thread([this, name] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_EQ(Register(name), 0);
                Send(name);
                EXPECT_EQ(Deregister(name), 0);
            }
        });
    }
    boost::thread sender([&] {
        while (!isOver) {
            Send("LinkDown");
            boost::this_thread::yield();
        }
    });
    threads.join_all();
    EXPECT_EQ(Register("LinkDown"), 0);
    EXPECT_TRUE(
        Await([&] { return !m_recorder.Get().empty() && m_recorder.Get().back().name == "LinkDown"; }));
    isOver = true;
    sender.join();
    EXPECT_EQ(m_pEvents->DeregisterAllEvents(), 0);
}

}  // namespace
}  // namespace Zevrin
