#include "Fixture.h"
#include "zevrin/DeviceEvent.h"

namespace Zevrin {

namespace {

class EventsTest : public CameraTest {
  protected:
    struct Row {
        const char* componentOperation;
        bool takesOptions;
        std::function<Error()> invoke;
        const char* text;
    };
    const std::vector<Row> m_rows = {
        {"EventList::RegisterEvent", true, [this] { return m_camera.RegisterEvent(&m_options); },
         "Could not register event, likely due to it already being registered. De-register it first, and try "
         "again."},
        {"EventList::DeregisterEvent", true, [this] { return m_camera.DeregisterEvent(&m_options); },
         "Could not de-register event, likely due to it not being registered."},
        {"EventList::RegisterAllEvents", true, [this] { return m_camera.RegisterAllEvents(&m_options); },
         "Could not register all events, likely due to at least one already being registered. De-register "
         "all events "
         "and try again."},
        {"EventList::DeregisterAllEvents", false, [this] { return m_camera.DeregisterAllEvents(); },
         "Could not de-register all events, likely due to none being registered."},
    };
    EventOptions m_options;
};

TEST_F(EventsTest, ReachTheComponentOnTheTwoInterfacesThatHaveThem) {
    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);  // not guarded
    Script::Get().generations = {kGeneration + 1};
    const int holds = BusMasterHolds();
    for (int type = -1; type <= 5; ++type) {
        Script::Get().interfaceType = type;
        for (const Row& row : m_rows) {
            SCOPED_TRACE(row.componentOperation + std::to_string(type));
            Calls().clear();
            const Error error = row.invoke();
            const std::string asked =
                Script::CallText("BusMaster::GetHwInterfaceFromSerialNumber", kSerialNumber);
            if (type == 2 || type == 3) {
                EXPECT_EQ(error, ERR_OK);
                const EventOptions* pOptions = row.takesOptions ? &m_options : nullptr;
                EXPECT_EQ(Calls(), (std::vector<std::string>{
                                       asked, Script::CallText(row.componentOperation, pOptions)}));
            } else {
                EXPECT_EQ(error.GetType(), ERR_NOT_IMPLEMENTED);
                EXPECT_STREQ(error.GetDescription(), "Interface does not support events.");
                EXPECT_EQ(Calls(), std::vector<std::string>{asked});
            }
            EXPECT_EQ(BusMasterHolds(), holds);
        }
    }
}

TEST_F(EventsTest, PutARefusalIntoWords) {
    Script::Get().interfaceType = 3;
    Script::Get().eventStatus = -7;
    for (const Row& row : m_rows) {
        const Error error = row.invoke();
        EXPECT_EQ(error.GetType(), ERR_FAILED);
        EXPECT_STREQ(error.GetDescription(), row.text);
        EXPECT_EQ(CauseLevels(error), 0);
    }
}

TEST_F(EventsTest, NeedACameraThatTheBusManagerKnows) {
    Script::Get().interfaceType = 3;
    Script::Get().failures["BusMaster::GetHwInterfaceFromSerialNumber"] = ComponentFailure();
    const int holds = BusMasterHolds();
    for (const Row& row : m_rows) {
        const Error error = row.invoke();
        EXPECT_EQ(error.GetType(), ERR_NOT_IMPLEMENTED);
        EXPECT_EQ(CauseLevels(error), 0);
    }
    EXPECT_EQ(BusMasterHolds(), holds);
}

}  // namespace

}  // namespace Zevrin
