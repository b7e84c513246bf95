// Cameras with random faults from a seed, and at the end the sums of what has become of their frames.

#include <algorithm>
#include <atomic>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/thread.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Image.h"
#include "support/FrameAccount.h"
#ifdef ZEVRIN_FAKE_CAMERA_PROGRAM
#include "support/NetworkRoom.h"
#include "support/OwnNetwork.h"
#include "support/Spawn.h"
#endif

namespace Zevrin {
namespace {

using Clock = std::chrono::steady_clock;
using Random = std::minstd_rand;

constexpr unsigned int kSimulated = 8;
constexpr unsigned int kFirstSimulated = 1001;
constexpr unsigned int kFirstGige = 20001;
constexpr unsigned int kBuffers = 8;
constexpr auto kBetweenDisturbances = std::chrono::milliseconds(40);

/// A camera and the thread that takes its images.
struct Participant {
    unsigned int serialNumber = 0;
    boost::shared_ptr<AccountedCamera> pCamera = boost::make_shared<AccountedCamera>();
    unsigned long long firstId = 0;             ///< the camera's own number of the first image
    std::atomic<unsigned long long> lastId{0};  ///< and of the last one
};

bool IsGood(const Error& error, const char* what) {
    if (error != ERR_OK) {
        std::fprintf(stderr, "soak: %s: %s\n", what, error.GetDescription());
    }
    return error == ERR_OK;
}

/// Takes images, at times slowly, and starts anew what has stopped.
void Consume(Participant& participant, unsigned int seed, const std::atomic<bool>& isOver) {
    Random random(seed);
    Image image;
    while (!isOver) {
        const Error error = participant.pCamera->WaitForBufferEvent(&image, 50);
        if (error == ERR_OK) {
            participant.firstId = participant.firstId == 0 ? image.GetFrameId() : participant.firstId;
            participant.lastId = image.GetFrameId();
            if (random() % 16 == 0) {
                boost::this_thread::sleep_for(boost::chrono::milliseconds(random() % 60));
            }
        } else if (error == ERR_ISOCH_NOT_STARTED) {
            const Error started = participant.pCamera->StartCapture(nullptr, nullptr);
            static_cast<void>(started);  // it is tried again
        } else if (error != ERR_TIMEOUT) {
            boost::this_thread::yield();
        }
    }
}

std::string MakeFaults(Random& random) {
    const auto share = [&] { return std::to_string(static_cast<double>(random() % 200) / 1000); };
    return R"({"seed": )" + std::to_string(random()) + R"(, "drop": {"share": )" + share() +
           R"(}, "corrupt": {"share": )" + share() + R"(}, "duplicate": {"share": )" + share() +
           R"(}, "delay": {"share": )" + share() + R"(}, "delayUs": 12000, "registers": {"share": 0.002}})";
}

Error Disturb(Simulation& simulation, std::vector<Participant>& participants, Random& random) {
    Participant& participant = participants[random() % kSimulated];
    switch (random() % 8) {
        case 0:
            return simulation.ResetBus(participant.serialNumber);
        case 1:
            return simulation.Unplug(participant.serialNumber);
        case 2: {
            const Error notStarted = participant.pCamera->StopCapture();
            static_cast<void>(notStarted);
            return Error();
        }
        case 3:
        case 4:
            return simulation.SetFaults(participant.serialNumber, MakeFaults(random));
        default:
            return simulation.Replug(participant.serialNumber);
    }
}

/// GigE Vision has no count of what was sent but the numbers of the images: those that came after the last
/// one that was taken are not known, and no more than twice the buffers.
bool Print(const Participant& participant, const Simulation& simulation) {
    FrameAccount account = participant.pCamera->GetAccount(simulation);
    const unsigned long long sum =
        account.delivered + account.corrupt + account.dropped + account.driverDropped;
    if (participant.serialNumber >= kFirstGige) {
        const unsigned long long known = participant.lastId - participant.firstId + 1;
        account.sent = std::min(std::max(sum, known), known + 2 * kBuffers);
    }
    const bool isGood = account.AddsUp() && account.sent > 0;
    std::cout << "camera " << participant.serialNumber << ": " << account
              << (isGood ? "" : ", which DOES NOT ADD UP") << "\n";
    return isGood;
}

bool Connect(std::vector<Participant>& participants) {
    ReconnectPolicy policy;
    policy.limitMs = 600000;
    policy.intervalMs = 20;
    ZevrinConfig config;
    config.numBuffers = kBuffers;
    return std::all_of(participants.begin(), participants.end(), [&](const Participant& participant) {
        AccountedCamera& camera = *participant.pCamera;
        return IsGood(camera.Connect(participant.serialNumber), "connecting") &&
               IsGood(camera.SetConfiguration(&config), "configuring") &&
               IsGood(camera.SetReconnectPolicy(&policy), "setting the policy");
    });
}

/// A camera can be away all along, or a machine too slow for it.
bool HaveAllDelivered(const std::vector<Participant>& participants) {
    return std::all_of(participants.begin(), participants.end(),
                       [](const Participant& participant) { return participant.lastId > 0; });
}

int Run(unsigned int seconds, unsigned int seed, unsigned int gigeCameras) {
    boost::shared_ptr<Simulation> pSimulation;
    const Error described =
        Simulation::FromJson(R"({"cameras": [{"serial": 1001, "count": 8, "width": 320, "height": 240,
            "frameRate": 100, "paint": false}]})",
                             &pSimulation);
    std::vector<Participant> participants(kSimulated + gigeCameras);
    for (unsigned int index = 0; index < participants.size(); ++index) {
        participants[index].serialNumber =
            index < kSimulated ? kFirstSimulated + index : kFirstGige + index - kSimulated;
    }
    if (!IsGood(described, "simulating") || !Connect(participants)) {
        return 1;
    }
    std::atomic<bool> isOver{false};
    boost::thread_group threads;
    for (Participant& participant : participants) {
        threads.create_thread([&] { Consume(participant, seed + participant.serialNumber, isOver); });
    }
    Random random(seed);
    bool isGood = true;
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    const auto lastEnd = end + std::chrono::seconds(30);
    while (Clock::now() < end || (!HaveAllDelivered(participants) && Clock::now() < lastEnd)) {
        isGood = IsGood(Disturb(*pSimulation, participants, random), "disturbing") && isGood;
        boost::this_thread::sleep_for(boost::chrono::milliseconds(kBetweenDisturbances.count()));
    }
    isOver = true;
    threads.join_all();
    std::cout << "seed " << seed << "\n";
    for (const Participant& participant : participants) {
        isGood = IsGood(participant.pCamera->Disconnect(), "disconnecting") && isGood;
        isGood = Print(participant, *pSimulation) && isGood;
    }
    return isGood ? 0 : 1;
}

}  // namespace
}  // namespace Zevrin

/// soak SECONDS [SEED]
int main(int argc, char** argv) {
    const auto number = [&](int index, unsigned int otherwise) {
        return argc > index ? static_cast<unsigned int>(std::strtoul(argv[index], nullptr, 10)) : otherwise;
    };
    const unsigned int seconds = number(1, 0);
    if (seconds == 0) {
        std::fprintf(stderr, "Usage: soak <seconds> [<seed>]\n");
        return 2;
    }
    unsigned int gigeCameras = 0;
#ifdef ZEVRIN_FAKE_CAMERA_PROGRAM
    Zevrin::TakeNetwork();
    std::vector<std::unique_ptr<Zevrin::NetworkRoom>> rooms;
    std::vector<std::unique_ptr<Zevrin::Process>> cameras;
    Zevrin::SpawnOptions options;
    options.keepsInputOpen = true;
    try {
        for (; gigeCameras < 2; ++gigeCameras) {
            rooms.push_back(std::make_unique<Zevrin::NetworkRoom>(gigeCameras + 1));
            rooms.back()->Within([&] {
                cameras.push_back(std::make_unique<Zevrin::Process>(
                    std::vector<std::string>{ZEVRIN_FAKE_CAMERA_PROGRAM, "--exit-with-stdin", "--address",
                                             rooms.back()->GetAddress(), "--serial",
                                             std::to_string(Zevrin::kFirstGige + gigeCameras),
                                             "--packet-size", "1400", "--packet-loss", "0.05"},
                    options));
            });
            if (!cameras.back()->WaitForOutput("ready\n")) {
                throw std::runtime_error("the fake camera does not get ready");
            }
        }
    } catch (const std::runtime_error& problem) {
        std::fprintf(stderr, "soak: %u GigE cameras: %s\n", gigeCameras, problem.what());
    }
#endif
    return Zevrin::Run(seconds, number(2, 1), gigeCameras);
}
