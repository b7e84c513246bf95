#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "Image.h"
#include "camera/MeteredTransport.h"
#include "support/FrameAccount.h"
#include "support/TemporaryFolder.h"
#include "transports/simulated/SimulatedFixture.h"
#include "zevrin/ImageFile.h"

namespace Zevrin {
namespace {

using nlohmann::json;

constexpr unsigned long long kTickUs = 1000;
constexpr rlim_t kFullDisk = 1000;  // bytes of a file, less than any picture has

/// A callback that stays within a call until it is let go, and counts.
struct Gate {
    static void Call(Image*, const void* pData) {
        auto& gate = *static_cast<Gate*>(const_cast<void*>(pData));
        ++gate.calls;
        EXPECT_TRUE(Await([&] { return gate.isOpen.load(); }));
    }
    std::atomic<bool> isOpen{false};
    std::atomic<unsigned int> calls{0};
};

/// Takes the place of a full disk: no file may be longer.
void LimitFiles(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);  // the write is to fail instead
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

/// One camera with whoever uses it.
struct Actor {
    boost::shared_ptr<AccountedCamera> pCamera = boost::make_shared<AccountedCamera>();
    Gate gate;
    bool hasCallback = false;
    unsigned long long consumeEveryUs = 0;  ///< 0: nobody takes images by himself
    std::vector<Image> held;
};

class Scenario : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        std::ifstream stream(GetParam());
        m_document = json::parse(stream);
        m_pSimulation = MakeSimulation(m_document.at("simulation").dump());
        for (const auto& [serial, setup] : m_document.at("cameras").items()) {
            Actor& actor = m_actors[static_cast<unsigned int>(std::stoul(serial))];
            ASSERT_EQ(actor.pCamera->Connect(static_cast<unsigned int>(std::stoul(serial))), ERR_OK);
            ZevrinConfig config;
            config.grabMode = setup.value("mode", "inOrder") == "newest" ? GRAB_NEWEST : GRAB_IN_ORDER;
            config.numBuffers = setup.value("buffers", 4U);
            ASSERT_EQ(actor.pCamera->SetConfiguration(&config), ERR_OK);
            actor.hasCallback = setup.value("callback", false);
            actor.consumeEveryUs = setup.value("consumeEveryUs", 0ULL);
        }
    }

    void TearDown() override { LimitFiles(RLIM_INFINITY); }

    /// The operations that a step can name.
    Error Do(const json& step, unsigned int serial) {
        Actor& actor = m_actors[serial];
        AccountedCamera& camera = *actor.pCamera;
        const std::map<std::string, std::function<Error()>> operations = {
            {"start",
             [&] { return camera.StartCapture(actor.hasCallback ? Gate::Call : nullptr, &actor.gate); }},
            {"stop", [&] { return camera.StopCapture(); }},
            {"connect", [&] { return camera.Connect(serial); }},
            {"reset", [&] { return m_pSimulation->ResetBus(serial); }},
            {"unplug", [&] { return m_pSimulation->Unplug(serial); }},
            {"replug", [&] { return m_pSimulation->Replug(serial); }},
            {"retrieve",
             [&] {
                 Image image;
                 return camera.WaitForBufferEvent(&image, 0);
             }},
            {"hold",
             [&] {
                 actor.held.emplace_back();
                 return camera.WaitForBufferEvent(&actor.held.back(), 0);
             }},
            {"release", [&] { return actor.held.clear(), Error(); }},
            {"record",
             [&] {
                 Image image;
                 const Error error = camera.WaitForBufferEvent(&image, 0);
                 const std::string name = std::to_string(image.GetFrameId()) + ".pgm";
                 return error == ERR_OK ? SaveImage(image, m_folder.Path(name)) : error;
             }},
            {"fillDisk", [] { return LimitFiles(kFullDisk), Error(); }},
            {"clearDisk", [] { return LimitFiles(RLIM_INFINITY), Error(); }},
            {"letCallback", [&] { return actor.gate.isOpen = true, Error(); }},
            {"awaitCallback",
             [&] {
                 EXPECT_TRUE(Await([&] { return actor.gate.calls >= step.value("calls", 1U); }));
                 return Error();
             }},
        };
        if (step.contains("access")) {
            DisturbAtAccess(step, serial);
        }
        return operations.at(step.at("do"))();
    }

    /// At the n-th access of the step, which goes on after that.
    void DisturbAtAccess(const json& step, unsigned int serial) {
        const auto pCamera = OpenCamera(serial);
        const RegisterBases bases = pCamera->GetRegisterBases();
        ASSERT_EQ(m_actors[serial].pCamera->SetAllIO(boost::make_shared<MeteredHardware>(pCamera),
                                                     bases.initialRegisterSpace, bases.commandRegisters),
                  ERR_OK);
        g_meter.Start(step.at("access"));
        g_meter.meanwhile = [this, disturbance = json{{"do", step.at("meanwhile")}}, serial] {
            EXPECT_EQ(Do(disturbance, serial), ERR_OK);
        };
    }

    /// On every camera, unless the step names one.
    void Take(const json& step) {
        SCOPED_TRACE(step.dump());
        for (const auto& actor : m_actors) {
            if (step.value("camera", actor.first) == actor.first) {
                const Error error = Do(step, actor.first);
                EXPECT_EQ(GetErrorTypeName(error.GetType()), step.value("expect", "ERR_OK"))
                    << error.GetTrace();
            }
        }
    }

    /// A step with `everyUs` is taken again and again until `untilUs`.
    void Play() {
        std::multimap<unsigned long long, const json*> steps;
        const unsigned long long end = m_document.at("untilUs");
        for (const json& step : m_document.at("steps")) {
            const unsigned long long every = step.value("everyUs", end);
            for (unsigned long long at = step.at("atUs"); at < step.value("untilUs", end); at += every) {
                steps.emplace(at, &step);
            }
        }
        for (unsigned long long now = 0; now < end; now += kTickUs) {
            for (; !steps.empty() && steps.begin()->first <= now; steps.erase(steps.begin())) {
                Take(*steps.begin()->second);
            }
            for (auto& actor : m_actors) {
                if (actor.second.consumeEveryUs != 0 && now % actor.second.consumeEveryUs == 0) {
                    Image image;
                    const Error none = actor.second.pCamera->WaitForBufferEvent(&image, 0);
                    static_cast<void>(none);
                }
            }
            m_pSimulation->AdvanceClock(kTickUs);
        }
        EXPECT_TRUE(steps.empty()) << "steps at times that never came";
    }

    /// Compared with what the file names of it.
    void CheckAccount(unsigned int serial, const FrameAccount& account) {
        SCOPED_TRACE("camera " + std::to_string(serial));
        EXPECT_TRUE(account.AddsUp()) << account;
        const json actual = {{"sent", account.sent},
                             {"delivered", account.delivered},
                             {"corrupt", account.corrupt},
                             {"dropped", account.dropped},
                             {"driverDropped", account.driverDropped}};
        for (const auto& [count, value] : m_document.at("outcome").at(std::to_string(serial)).items()) {
            EXPECT_EQ(actual.at(count), value) << count << " of " << account;
        }
    }

    /// None that is not whole.
    void CheckFiles() {
        unsigned int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
            EXPECT_GT(entry.file_size(), kFullDisk) << entry.path();
            ++count;
        }
        EXPECT_EQ(count, m_document.at("outcome").value("files", 0U));
    }

    const TemporaryFolder m_folder;
    json m_document;
    boost::shared_ptr<Simulation> m_pSimulation;
    std::map<unsigned int, Actor> m_actors;
};

TEST_P(Scenario, ComesOutAsItsFileSays) {
    Play();
    for (auto& [serial, actor] : m_actors) {
        const Error alreadyGone = actor.pCamera->Disconnect();
        static_cast<void>(alreadyGone);
        CheckAccount(serial, actor.pCamera->GetAccount(*m_pSimulation));
    }
    CheckFiles();
    g_meter = Meter();
}

std::vector<std::string> FindFiles() {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(SCENARIO_FOLDER)) {
        if (entry.path().extension() == ".json") {
            files.push_back(entry.path());
        }
    }
    return files;
}

INSTANTIATE_TEST_SUITE_P(Files, Scenario, testing::ValuesIn(FindFiles()),
                         [](const auto& file) { return std::filesystem::path(file.param).stem().string(); });

}  // namespace
}  // namespace Zevrin
