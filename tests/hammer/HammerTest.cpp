#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/thread/thread.hpp>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "Image.h"
#include "Registers.h"
#include "support/FrameAccount.h"
#include "transports/simulated/SimulatedFixture.h"

namespace Zevrin {
namespace {

/// Where a run happens. Cameras are connected before and disconnected after it, since that is the caller's to
/// keep apart from everything else; what comes between, a reconnect policy connects.
struct Site {
    boost::shared_ptr<Simulation> pSimulation;
    std::vector<boost::shared_ptr<CameraInternal>> cameras;
    std::atomic<unsigned int> callbacks{0};

    CameraInternal& Camera() { return *cameras.front(); }
    unsigned long long CountSent(unsigned int serialNumber) const {
        SimulatedFrameCounts counts;
        EXPECT_EQ(pSimulation->GetFrameCounts(serialNumber, &counts), ERR_OK);
        return counts.sent;
    }
};

using Random = std::minstd_rand;

/// What one kind of thread does over and over.
struct Duty {
    const char* name;
    unsigned int threads;
    unsigned int rounds;  ///< at least
    Error (*work)(Site&, Random&);
};

constexpr unsigned int kFirst = 1001;
constexpr unsigned int kCameras = 4;
constexpr int kFrameSize = 64 * 48;

/// Lets something happen, if it does so soon.
template <typename Condition>
void GiveTime(const Condition& hasHappened) {
    const auto limit = boost::chrono::steady_clock::now() + boost::chrono::milliseconds(100);
    while (!hasHappened() && boost::chrono::steady_clock::now() < limit) {
        boost::this_thread::yield();
    }
}

Error Access(Site& site, Random& random) {
    CameraInternal& camera = site.Camera();
    unsigned int values[4] = {};
    Property property;
    property.type = random() % 2 == 0 ? GAIN : SHUTTER;
    const Error read = camera.GetProperty(&property);
    TriggerMode mode;
    StrobeControl strobe;
    EmbeddedImageInfo embedded;
    CameraStats stats;
    TimeStamp stamp;
    CameraInfo info;
    const Error results[] = {camera.ReadRegister(0x1F00, values),
                             camera.WriteRegister(0x1F00, values[0] + 1),
                             camera.ReadRegisterBlock(0xFFFF, 0xF0F01F00U, values, 4),
                             read == ERR_OK ? camera.SetProperty(&property) : read,
                             camera.GetTriggerMode(&mode),
                             camera.GetStrobe(&strobe),
                             camera.GetEmbeddedImageInfo(&embedded),
                             camera.GetStats(&stats),
                             camera.GetCycleTime(&stamp),
                             camera.GetCameraInfo(&info)};
    return results[random() % std::size(results)];
}

Error StreamAndRetrieve(Site& site, Random& random) {
    Error error = site.Camera().StartCapture(nullptr, nullptr);
    Image image;
    for (unsigned int count = random() % 8; count > 0; --count) {
        error = site.Camera().WaitForBufferEvent(&image, 20);
    }
    return random() % 4 == 0 ? site.Camera().StopCapture() : error;
}

void CountAndSometimesStop(Image*, const void* pData) {
    auto* const pSite = static_cast<Site*>(const_cast<void*>(pData));
    if (++pSite->callbacks % 3 == 0) {
        const Error notStarted = pSite->Camera().StopCapture();
        static_cast<void>(notStarted);
    }
}

Error StartWithCallback(Site& site, Random&) {
    return site.Camera().StartCapture(CountAndSometimesStop, &site);
}

Error Stop(Site& site, Random& random) {
    const unsigned int enough = random() % 2 == 0 ? site.callbacks + 1 : 0;
    GiveTime([&] { return site.callbacks >= enough; });
    return site.Camera().StopCapture();
}

Error ChangeCallback(Site& site, Random& random) {
    return site.Camera().SetCallback(random() % 2 == 0 ? nullptr : CountAndSometimesStop, &site);
}

/// Every other time it lets the stream come back first, if it does so soon.
Error DisturbBus(Site& site, Random& random) {
    const bool isPatient = random() % 2 == 0 && !site.cameras.empty();
    const unsigned long long enough = isPatient ? site.CountSent(kFirst) + 2 : 0;
    GiveTime([&] { return site.CountSent(kFirst) >= enough; });
    if (random() % 2 == 0) {
        return site.pSimulation->ResetBus(kFirst);
    }
    const Error error = site.pSimulation->Unplug(kFirst);
    boost::this_thread::yield();
    return error == ERR_OK ? site.pSimulation->Replug(kFirst) : error;
}

/// The last of these objects to go takes the bus manager with it; nobody may write to the buffers any more.
Error BuildAndDestroy(Site&, Random& random) {
    std::vector<unsigned char> memory(3 * kFrameSize);
    IidcCamera camera;
    Error error = camera.Connect(static_cast<unsigned int>(kFirst + random() % kCameras));
    unsigned int value = 0;
    error = camera.ReadRegister(Register::kTransmission, &value);
    if (random() % 2 == 0) {
        Image image;
        error = camera.SetUserBuffers(memory.data(), kFrameSize, 3);
        error = camera.StartCapture(nullptr, nullptr);
        error = camera.WaitForBufferEvent(&image, 5);
    }
    return random() % 2 == 0 ? camera.Disconnect() : error;
}

template <unsigned int kGroup>
Error StartInStep(Site& site, Random&) {
    const std::vector<boost::shared_ptr<CameraInternal>> cameras(site.cameras.begin() + 2 * kGroup,
                                                                 site.cameras.begin() + 2 * kGroup + 2);
    const Error started = CameraInternal::StartSyncCapture(2, cameras, nullptr, nullptr);
    for (const auto& pCamera : cameras) {
        const Error stopped = pCamera->StopCapture();
        EXPECT_TRUE(started != ERR_OK || stopped == ERR_OK) << stopped.GetTrace();
    }
    return started;
}

struct Row {
    const char* name;
    unsigned int cameras;  ///< that stay connected
    std::vector<Duty> duties;
    std::vector<ErrorType> results;  ///< what may come of the duties, beside success
};

const std::vector<ErrorType> kOfALostCamera = {
    ERR_INVALID_GENERATION,   ERR_NOT_CONNECTED,         ERR_CAMERA_LOST,       ERR_TIMEOUT,
    ERR_READ_REGISTER_FAILED, ERR_WRITE_REGISTER_FAILED, ERR_REGISTER_FAILED,   ERR_ISOCH_ALREADY_STARTED,
    ERR_ISOCH_NOT_STARTED,    ERR_ISOCH_START_FAILED,    ERR_ISOCH_STOP_FAILED, ERR_CAMERA_NOT_FOUND};

const Row kRows[] = {
    {"OneCameraUnderBusResets",
     1,
     {{"accesses", 4, 100, Access}, {"streaming", 2, 50, StreamAndRetrieve}, {"bus", 1, 30, DisturbBus}},
     kOfALostCamera},
    {"CamerasComeAndGoWithTheBusManager",
     0,
     {{"building", 4, 40, BuildAndDestroy}, {"bus", 1, 30, DisturbBus}},
     kOfALostCamera},
    {"StartsStopsAndCallbacks",
     1,
     {{"starting", 2, 50, StartWithCallback},
      {"stopping", 2, 50, Stop},
      {"callbacks", 1, 50, ChangeCallback}},
     {ERR_ISOCH_ALREADY_STARTED, ERR_ISOCH_NOT_STARTED, ERR_ISOCH_STOP_FAILED, ERR_FAILED}},
    {"TwoStartsInStep",
     kCameras,
     {{"first", 1, 2, StartInStep<0>}, {"second", 1, 2, StartInStep<1>}, {"accesses", 1, 20, Access}},
     {ERR_ISOCH_SYNC_FAILED}},  // on a machine that is too slow for the limit
};

class Hammer : public testing::TestWithParam<Row> {
  protected:
    void SetUp() override {
        m_site.pSimulation =
            MakeSimulation(R"({"cameras": [{"serial": 1001, "count": 4, "width": 64, "height": 48,
            "frameRate": 200, "paint": false, "faults": {"drop": {"share": 0.1}, "corrupt": {"share": 0.1},
            "duplicate": {"share": 0.1}, "delay": {"share": 0.1}, "delayUs": 3000}}]})");
        ReconnectPolicy policy;
        policy.limitMs = 120000;
        policy.intervalMs = 1;
        for (unsigned int number = 0; number < GetParam().cameras; ++number) {
            m_accounts.push_back(boost::make_shared<AccountedCamera>());
            ASSERT_EQ(m_accounts.back()->Connect(kFirst + number), ERR_OK);
            ASSERT_EQ(m_accounts.back()->SetReconnectPolicy(&policy), ERR_OK);
            m_site.cameras.push_back(m_accounts.back());
        }
    }

    /// Whether every camera that stays has sent frames, and callbacks were called where some are installed.
    bool HasLived() const {
        bool hasLived = m_site.callbacks > 0 || GetParam().duties[0].work != StartWithCallback;
        for (unsigned int number = 0; number < GetParam().cameras; ++number) {
            hasLived = hasLived && m_site.CountSent(kFirst + number) > 0;
        }
        return hasLived;
    }

    /// All go on until each has done its rounds, so that each meets all others.
    void Run(const Row& row) {
        m_busy = 1;  // as long as they have not lived
        std::vector<std::pair<const char*, boost::thread>> threads;
        for (const Duty& duty : row.duties) {
            for (unsigned int number = 0; number < duty.threads; ++number) {
                ++m_busy;
                const auto seed = static_cast<unsigned int>(threads.size() + 1);
                threads.emplace_back(duty.name, [this, &row, &duty, seed] { Work(row, duty, seed); });
            }
        }
        EXPECT_TRUE(Await([this] { return HasLived(); }));
        --m_busy;
        const auto deadline = boost::chrono::steady_clock::now() + boost::chrono::seconds(120);
        for (auto& thread : threads) {
            if (!thread.second.try_join_until(deadline)) {
                std::fprintf(stderr, "%s: the thread \"%s\" does not end\n", row.name, thread.first);
                std::abort();  // with the stacks of all threads for the debugger
            }
        }
    }

    void Work(const Row& row, const Duty& duty, unsigned int seed) {
        Random random(seed);
        for (unsigned int round = 1; m_busy > 0; ++round) {
            const Error error = duty.work(m_site, random);
            const auto& results = row.results;
            EXPECT_TRUE(error == ERR_OK ||
                        std::find(results.begin(), results.end(), error.GetType()) != results.end())
                << duty.name << ": " << error.GetTrace();
            m_busy -= round == duty.rounds ? 1U : 0U;
        }
    }

    Site m_site;
    std::vector<boost::shared_ptr<AccountedCamera>> m_accounts;
    std::atomic<unsigned int> m_busy{0};
};

TEST_P(Hammer, EndsInTimeAndAccountsForEveryFrame) {
    Run(GetParam());
    for (const auto& pCamera : m_accounts) {
        EXPECT_EQ(pCamera->WaitForReconnection(60000), ERR_OK) << "it came back, and is found again";
        unsigned int value = 0;
        EXPECT_EQ(pCamera->ReadRegister(Register::kTransmission, &value), ERR_OK);
        EXPECT_EQ(pCamera->Disconnect(), ERR_OK);
        const FrameAccount account = pCamera->GetAccount(*m_site.pSimulation);
        EXPECT_TRUE(account.AddsUp()) << account;
    }
}

INSTANTIATE_TEST_SUITE_P(Duties, Hammer, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace Zevrin
