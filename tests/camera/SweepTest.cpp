#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <regex>
#include <set>

#include "BusMaster.h"
#include "Singleton.h"
#include "SweepRows.h"

namespace Zevrin {

/// In place of the transports of this build.
std::vector<std::unique_ptr<Transport>> CreateTransports() {
    std::vector<std::unique_ptr<Transport>> transports;
    transports.push_back(std::make_unique<MeteredTransport>());
    return transports;
}

namespace {

struct Outcome {
    Error error;
    std::vector<std::string> accesses;
    Registers changed;
};

/// A failure's text is that of the access which was lost, or, with 0, of the guard.
testing::AssertionResult Follows(const Error& error, const Rule& rule, std::size_t number) {
    const std::string reason = number > 0 ? "Access " + std::to_string(number) + " is lost." : rule.text;
    const std::string text = rule.text != nullptr ? rule.text : reason;
    int causes = 0;
    Error root = error;
    for (; root.GetCause() != ERR_OK; root = root.GetCause()) {
        ++causes;
    }
    const bool isWhole = std::string(error.GetDescription()).rfind(text, 0) == 0 &&
                         (causes == 0 || root.GetDescription() == reason);
    return error == rule.type && causes == rule.causes && (rule.type == ERR_OK || isWhole)
               ? testing::AssertionSuccess()
               : testing::AssertionFailure()
                     << "not '" << text << "' with " << rule.causes << " causes but " << error.GetTrace();
}

testing::AssertionResult Holds(const Records& record, const Records& expected) {
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(&record);
    const auto* const pExpected = reinterpret_cast<const unsigned char*>(&expected);
    const auto* const pEnd = pBytes + sizeof record;
    const auto* const pFound = std::mismatch(pBytes, pEnd, pExpected).first;
    return pFound == pEnd ? testing::AssertionSuccess()
                          : testing::AssertionFailure() << "byte " << pFound - pBytes << " of the records";
}

/// One camera of which every access goes through the meter, put back before each run to where it was.
class Sweep : public testing::Test {
  protected:
    Sweep() {
        Prepared(Simulation::FromJson(
            R"({"clock": "manual", "cameras": [{"model": "%s", "interface": "gige", "frameRate": 100}]})",
            &g_pSimulation));
        Prepared(m_camera.Connect(kSerialNumber));
        g_pSimulation->AdvanceClock(3000500);
        for (unsigned int offset = 0; offset < 0x40000; offset += 4) {
            if (g_meter.pDevice->GetRegisters().Has(offset)) {
                m_offsets.push_back(offset);
            }
        }
        m_home = GetRegisters();
        m_untouched.Scribble();
    }
    ~Sweep() override {
        Prepared(m_camera.Disconnect());
        g_meter.pDevice.reset();
        g_pSimulation.reset();
    }

    static RegisterFile::Settings GetRegisters() { return g_meter.pDevice->GetRegisters().Save(); }

    void GoHome() {
        if (m_camera.CheckValidity() != ERR_OK) {
            Prepared(m_camera.Connect(kSerialNumber));
        }
        Error ignored = m_camera.StopCapture();
        ignored = m_camera.DeregisterAllEvents();
        Prepared(m_camera.WriteRegister(0x614, 0));
        for (std::size_t index = 0; index < m_home.size(); ++index) {
            g_meter.pDevice->GetRegisters().Set(m_offsets[index], m_home[index]);
        }
        Prepared(m_camera.ResetStats());
        EXPECT_EQ(g_meter.opened, 1);
    }

    Outcome Run(
        const Row& row, std::size_t lost, const std::function<void()>& spoil = [] {}) {
        GoHome();
        if (row.prepare) {
            row.prepare(m_camera);
        }
        spoil();
        m_records.Scribble();
        const RegisterFile::Settings before = GetRegisters();
        const int holds = Singleton<BusMaster>::m_iRefCount;
        g_meter.Start(lost);
        Outcome outcome{row.run(m_camera, m_records), {}, {}};
        outcome.accesses.swap(g_meter.accesses);
        g_meter.Start(0);
        m_records.ForgetHostTime();
        EXPECT_EQ(Singleton<BusMaster>::m_iRefCount, holds);
        const RegisterFile::Settings after = GetRegisters();
        for (std::size_t index = 0; index < after.size(); ++index) {
            if (after[index] != before[index]) {
                outcome.changed[m_offsets[index]] = after[index];
            }
        }
        ++m_runs;
        return outcome;
    }

    /// The access of this number was lost, or, with 0, nothing was, unless the rule is the guard's.
    void Check(const Row& row, const Outcome& outcome, const Rule& rule, std::size_t number = 0) {
        const bool isPassedOver = rule.type == ERR_OK;
        Records expected;
        std::memcpy(static_cast<void*>(&expected), isPassedOver ? &m_wholeRecords : &m_untouched,
                    sizeof expected);
        Registers left = isPassedOver ? m_whole.changed : Registers();
        if (row.outcome && (number > 0 || !isPassedOver)) {
            row.outcome(
                {number, number > 0 ? m_whole.accesses[number - 1] : "", m_wholeRecords, expected, left});
        }
        EXPECT_TRUE(Follows(outcome.error, rule, number));
        EXPECT_EQ(outcome.changed, left);
        EXPECT_TRUE(Holds(m_records, expected));
    }

    void CheckSequence(const Row& row) {
        std::string sequence;
        for (const std::string& access : m_whole.accesses) {
            sequence += (sequence.empty() ? "" : " ") + access;
        }
        EXPECT_TRUE(row.accesses == nullptr ? !sequence.empty() : sequence == row.accesses) << sequence;
        for (const auto& exception : row.exceptions) {
            EXPECT_NE((" " + sequence).find(" " + std::string(exception.first)), std::string::npos)
                << exception.first;
        }
    }

    void CheckGuard(const Row& row) {
        SCOPED_TRACE("guard");
        const Outcome stale = Run(row, 0, [&] { m_camera.SetGeneration(m_camera.GetGeneration() + 1); });
        Check(
            row, stale,
            row.isGuarded ? Rule{ERR_INVALID_GENERATION, "Generation count is incorrect.", 1} : kPassedOver);
        EXPECT_TRUE(!row.isGuarded || stale.accesses.empty());
        if (row.isGuarded) {
            const Outcome away = Run(row, 0, [&] { m_camera.m_bConnected = false; });
            m_camera.m_bConnected = true;
            Check(row, away, {ERR_NOT_CONNECTED, "Camera object is not connected to a camera.", 1});
            EXPECT_TRUE(away.accesses.empty());
        }
    }

    void CheckLoss(const Row& row, std::size_t number) {
        const std::string access = m_whole.accesses[number - 1];
        SCOPED_TRACE("without " + access);
        Rule rule = row.rule;
        for (const auto& exception : row.exceptions) {
            rule = access.find(exception.first) == 0 ? exception.second : rule;
        }
        Check(row, Run(row, number), rule, number);
        if (row.isGuarded) {
            CameraStats stats;
            Prepared(m_camera.GetStats(&stats));
            const bool isRegister = access[0] == 'r' || access[0] == 'w';
            EXPECT_EQ(stats.registerReadFailures + stats.registerWriteFailures, isRegister ? 1U : 0U);
        }
        Check(row, Run(row, 0), kPassedOver);
    }

    SweptCamera m_camera;
    std::vector<unsigned int> m_offsets;  ///< of all registers
    RegisterFile::Settings m_home;
    Outcome m_whole;  ///< of the present row, with nothing lost
    Records m_wholeRecords;
    Records m_untouched;
    Records m_records;
    std::size_t m_runs = 0;
};

TEST_F(Sweep, EachAccessOfEachOperationIsLost) {
    std::size_t accesses = 0;
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.operation);
        m_whole = Run(row, 0);
        std::memcpy(static_cast<void*>(&m_wholeRecords), &m_records, sizeof m_records);
        Check(row, m_whole, kPassedOver);
        CheckSequence(row);
        CheckGuard(row);
        for (std::size_t number = 1; number <= m_whole.accesses.size(); ++number) {
            CheckLoss(row, number);
        }
        accesses += m_whole.accesses.size();
    }
    std::cout << kRows.size() << " operations, " << accesses << " accesses, " << m_runs << " outcomes\n";
}

TEST_F(Sweep, FormatsAreNotChangedUnderAStream) {
    Start(m_camera);
    const RegisterFile::Settings before = GetRegisters();
    EXPECT_EQ(m_camera.SetVideoMode(&g_in.videoMode), ERR_ISOCH_ALREADY_STARTED);
    EXPECT_EQ(m_camera.SetFormat7(&g_in.format7), ERR_ISOCH_ALREADY_STARTED);
    EXPECT_EQ(m_camera.GetFormat7(&m_records.format7), ERR_OK);
    EXPECT_EQ(GetRegisters(), before);
}

/// Switched on behind the library's back: it has no stream of its own to refuse for.
TEST_F(Sweep, WhatTheTransmittingCameraDoesNotTakeIsToldAndPutBack) {
    Prepared(m_camera.WriteRegister(0x614, 0x80000000));
    const RegisterFile::Settings before = GetRegisters();
    EXPECT_EQ(m_camera.SetVideoMode(&g_in.videoMode), ERR_INVALID_MODE);
    EXPECT_EQ(m_camera.SetFormat7(&g_in.format7), ERR_INVALID_MODE);
    EXPECT_EQ(m_camera.RestoreFromMemoryChannel(1), ERR_MEMORY_CHANNEL_FAILED);
    EXPECT_EQ(GetRegisters(), before);
}

/// Set while the camera adjusts it, which takes no value then.
TEST_F(Sweep, AnAbsoluteValueEndsTheAutomaticMode) {
    Property gain = g_in.gain;
    gain.autoManualMode = true;
    Prepared(m_camera.SetProperty(&gain));
    gain = g_in.gain;
    gain.absValue = 12;
    Prepared(m_camera.SetProperty(&gain));
    Prepared(m_camera.GetProperty(&gain));
    EXPECT_EQ(gain.absValue, 12);
}

TEST_F(Sweep, AnObjectIsConnectedOnceAndServesAgainWhenItHasBeenGivenUp) {
    CameraSystem system;
    std::vector<CameraListing> cameras;
    EXPECT_TRUE(IsOk(system.List(&cameras)));
    EXPECT_EQ(cameras.at(0).modelName, "\\x25s");
    boost::shared_ptr<IidcCamera> pCamera;
    EXPECT_EQ(system.Connect(44, &pCamera), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(system.Connect(kSerialNumber, nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(m_camera.Connect(44), ERR_ALREADY_CONNECTED);
    EXPECT_EQ(m_camera.CheckValidity(), ERR_OK) << "the refusal changes nothing";

    EXPECT_EQ(m_camera.Disconnect(), ERR_OK);
    EXPECT_EQ(g_meter.opened, 0);
    EXPECT_EQ(m_camera.Disconnect(), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_camera.WriteRegister(0x614, 5), ERR_NOT_CONNECTED);
    EXPECT_EQ(m_camera.Connect(44), ERR_CAMERA_NOT_FOUND);
    EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
}

TEST_F(Sweep, StreamsAreAsConfiguredAlsoWhenConnectedAgain) {
    ZevrinConfig config;
    config.numBuffers = 0;
    EXPECT_EQ(m_camera.SetConfiguration(&config), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(m_camera.SetConfiguration(nullptr), ERR_INVALID_PARAMETER);
    EXPECT_EQ(m_camera.GetConfiguration(nullptr), ERR_INVALID_PARAMETER);
    config.numBuffers = 1;
    config.grabTimeout = 0;
    EXPECT_EQ(m_camera.SetConfiguration(&config), ERR_OK);
    Start(m_camera);
    EXPECT_EQ(m_camera.StartCapture(nullptr, nullptr), ERR_ISOCH_ALREADY_STARTED);
    g_pSimulation->AdvanceClock(50000);
    Image images[2];
    EXPECT_EQ(m_camera.RetrieveBuffer(&images[0]), ERR_OK);
    EXPECT_EQ(m_camera.RetrieveBuffer(&images[1]), ERR_TIMEOUT);
    m_camera.SetGeneration(m_camera.GetGeneration() + 1);
    EXPECT_EQ(m_camera.StopCapture(), ERR_INVALID_GENERATION);
    EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
    EXPECT_EQ(m_camera.StopCapture(), ERR_ISOCH_NOT_STARTED) << "connecting again has stopped it";
    EXPECT_EQ(m_camera.GetConfiguration(&config), ERR_OK);
    EXPECT_EQ(config.numBuffers, 1U);
}

/// One camera, which goes by a clock that runs: the start waits for images.
TEST(SweepOfTheSynchronizedStart, EachAccessIsLost) {
    const Rule known{ERR_ISOCH_FAILED, "Could not get embedded image info.", 3};
    const Rule told{ERR_ISOCH_FAILED, "Could not set embedded image info.", 3};
    const Rule started{ERR_ISOCH_START_FAILED, "Could not start one of the cameras.", 2};
    const Rule switchedOn{ERR_ISOCH_START_FAILED, "Could not start one of the cameras.", 3};
    const Rule drained{ERR_TIMESTAMP_FAILED, "Failed to retrieve timestamp information from image.", 0};
    const struct {
        const char* access;
        Rule rule;
        bool isLeftStreaming = false;
    } rows[] = {
        {"r12F8", known},          {"w12F8", known},         {"r12F8", known},
        {"w12F8", known},          {"r12F8", told},          {"w12F8", told},
        {"StreamFormat", started}, {"StartStream", started}, {"r12F8", kPassedOver, true},
        {"w614", switchedOn},      {"w614", drained, true},  // as callers know it
    };
    Prepared(Simulation::FromJson(
        R"({"cameras": [{"interface": "ieee1394", "width": 64, "height": 48, "frameRate": 200}]})",
        &g_pSimulation));
    std::vector<std::string> accesses;
    for (std::size_t lost = 0; lost <= std::size(rows); ++lost) {
        SCOPED_TRACE(lost);
        std::vector<boost::shared_ptr<CameraInternal>> cameras = {boost::make_shared<SweptCamera>()};
        Prepared(cameras[0]->Connect(kSerialNumber));
        const int holds = Singleton<BusMaster>::m_iRefCount;
        g_meter.Start(lost);
        const Error error = CameraInternal::StartSyncCapture(1, cameras, nullptr, nullptr);
        accesses.swap(g_meter.accesses);
        g_meter.Start(0);
        EXPECT_TRUE(Follows(error, lost > 0 ? rows[lost - 1].rule : kPassedOver, lost));
        EXPECT_EQ(Singleton<BusMaster>::m_iRefCount, holds);
        EXPECT_EQ(cameras[0]->StopCapture() == ERR_OK, lost == 0 || rows[lost - 1].isLeftStreaming);
        if (lost == 0) {
            // The last one switches on; without it each image would be waited for 22 seconds.
            ASSERT_EQ(accesses.size(), std::size(rows) + 1) << testing::PrintToString(accesses);
            for (std::size_t index = 0; index < std::size(rows); ++index) {
                EXPECT_EQ(accesses[index].rfind(rows[index].access, 0), 0U) << accesses[index];
            }
        }
    }
    g_meter.pDevice.reset();
    g_pSimulation.reset();
}

/// The reconnection has tests of its own, and so has what several cameras come to that are started in step.
TEST(SweepRows, HaveEveryOperationThatTheHeadersDeclare) {
    std::set<std::string> rows;
    for (const char* other :
         {"CheckValidity", "SetAllIO", "ReleaseAllIO", "StartSyncCapture", "StartSyncCaptureImageHelper",
          "SetReconnectPolicy", "GetReconnectPolicy", "WaitForReconnection"}) {
        rows.insert(other);
    }
    for (const Row& row : kRows) {
        rows.insert(row.operation);
    }
    for (const char* header :
         {"src/camera/CameraInternal.h", "src/camera/iidc/IidcCamera.h", "include/zevrin/CameraSystem.h"}) {
        std::ifstream file(std::string(SOURCE_FOLDER) + "/" + header);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        text.resize(std::min(text.find("\n  private:"), text.size()));
        const std::regex declaration("\n    (?:virtual |static )?Error (\\w+)\\(");
        std::sregex_iterator found(text.begin(), text.end(), declaration);
        EXPECT_NE(found, std::sregex_iterator()) << header;
        for (; found != std::sregex_iterator(); ++found) {
            EXPECT_EQ(rows.count((*found)[1]), 1U) << (*found)[1] << " of " << header;
        }
    }
}

}  // namespace
}  // namespace Zevrin
