#pragma once

#include <sstream>

#include "SimulatedFixture.h"

namespace Zevrin {

/// A picture as it was sent.
struct Picture {
    FrameInfo info;
    std::vector<unsigned char> data;

    unsigned int At(std::size_t byte, unsigned int y = 200) const { return data.at(y * info.stride + byte); }
    /// Where the row 200 of the scene is at `x`.
    unsigned int Phase(unsigned int x) const { return x + 200 + 4 * static_cast<unsigned int>(info.frameId); }
    unsigned int Quadlet(std::size_t index) const { return ReadQuadlet(&data.at(4 * index)); }
};

/// A camera, 1001, that follows a text, on a clock set by hand. Numbers are hexadecimal in registers, else
/// decimal.
///
/// - `830<83000000` writes a register, `830=83000000` expects it to read so, `830!` that it cannot be read,
///   `830!83000000` that it cannot be written; `faults:{}` sets the faults of accesses and frames;
/// - `+1000` lets so many microseconds pass;
/// - `pulse:2:100` raises pin 2 for 100 microseconds; `pin:2:1` sets it, `level:2:1` expects it to be so;
/// - `frames:2` takes what has arrived, which is to be two frames; `pixel:99` expects so bright a last one;
/// - `take` takes one picture in the present format, with transmission on meanwhile;
/// - `count:400` expects that so many frames were sent since the last count, give or take one;
/// - `Trigger:1@500` expects the next event, with its number, at this microsecond; `last:Trigger:1@5` as the
///   last one, with which all are done; `none` expects that no event waits, `forget` drops those that do;
/// - `unplug` and `replug` do as they say; the camera is opened again then.
class ScriptedCamera : public EventSink {
  public:
    /// @param keys  of the camera's description
    explicit ScriptedCamera(const std::string& keys = "")
        : m_pSimulation(MakeSimulation(R"({"clock": "manual", "cameras": [{)" + keys + "}]}")),
          m_pCamera(OpenCamera(1001)),
          m_pStream(std::make_unique<Listening>(*m_pCamera)) {
        m_hasEvents = m_pCamera->SetEventSink(this) == ERR_OK;
    }
    ~ScriptedCamera() override { EXPECT_TRUE(!m_hasEvents || IsOk(m_pCamera->SetEventSink(nullptr))); }

    /// What follows a # up to the end of its line is a comment.
    /// @return the last picture that was taken
    const Picture& Follow(const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            SCOPED_TRACE(line);
            std::istringstream steps(line.substr(0, line.find('#')));
            for (std::string step; steps >> step;) {
                Take(step);
            }
        }
        return m_picture;
    }

    void OnDeviceEvent(const RawDeviceEvent& event) override {
        unsigned int number = 0;
        for (const unsigned char byte : event.data) {
            number = number << 8 | byte;
        }
        m_events.push_back(event.name + ":" + std::to_string(number) + "@" +
                           std::to_string(event.timeStampNs / 1000));
    }

    const boost::shared_ptr<Simulation> m_pSimulation;
    const boost::shared_ptr<HardwareInterface> m_pCamera;

  private:
    void Take(const std::string& step) {
        const std::size_t sign = step.find_first_of("<=:+!");
        const std::string verb = step.substr(0, sign);
        const std::string rest = sign == std::string::npos ? "" : step.substr(sign + 1);
        if (sign == std::string::npos) {
            TakeWord(step);
        } else if (step[sign] == '<') {
            WriteCommand(*m_pCamera, ToNumber(verb, 16), ToNumber(rest, 16));
        } else if (step[sign] == '=') {
            EXPECT_EQ(ReadCommand(*m_pCamera, ToNumber(verb, 16)), ToNumber(rest, 16)) << std::hex << step;
        } else if (step[sign] == '!') {
            unsigned int value = rest.empty() ? 0 : ToNumber(rest, 16);
            const unsigned int low = kCommandBase + ToNumber(verb, 16);
            EXPECT_EQ(rest.empty() ? m_pCamera->ReadQuadlets(kRegisterSpace, low, &value, 1)
                                   : m_pCamera->WriteQuadlets(kRegisterSpace, low, &value, 1, false),
                      rest.empty() ? ERR_READ_REGISTER_FAILED : ERR_WRITE_REGISTER_FAILED);
        } else if (verb == "faults") {
            EXPECT_TRUE(IsOk(m_pSimulation->SetFaults(1001, rest)));
        } else if (step[sign] == '+') {
            m_pSimulation->AdvanceClock(ToNumber(rest));
        } else if (verb == "frames") {
            EXPECT_EQ(Drain(), ToNumber(rest));
        } else if (verb == "count") {
            Drain();
            EXPECT_NEAR(m_pStream->CountAll(), m_counted + ToNumber(rest), 1) << step;
            m_counted = m_pStream->CountAll();
        } else if (verb == "pixel") {
            EXPECT_NEAR(m_picture.At(300), ToNumber(rest), 1);
        } else if (verb == "pulse" || verb == "pin" || verb == "level") {
            TakePin(verb, ToNumber(rest), ToNumber(rest.substr(rest.find(':') + 1)));
        } else if (verb == "last") {
            EXPECT_EQ(m_events.empty() ? "" : m_events.back(), rest);
            m_events.clear();
        } else {
            EXPECT_EQ(m_events.empty() ? "nothing" : m_events.front(), step);
            m_events.erase(m_events.begin(), m_events.begin() + (m_events.empty() ? 0 : 1));
        }
    }
    void TakeWord(const std::string& word) {
        if (word == "unplug" || word == "replug") {
            EXPECT_TRUE(IsOk(word == "unplug" ? m_pSimulation->Unplug(1001) : m_pSimulation->Replug(1001)));
            EXPECT_EQ(m_pCamera->Open(), word == "unplug" ? ERR_CAMERA_LOST : ERR_OK);
        } else if (word == "take") {
            m_pStream.reset();  // the old one's buffers may have another size
            m_pStream = std::make_unique<Listening>(*m_pCamera);
            WriteCommand(*m_pCamera, kTransmissionRegister, kOn);
            for (int step = 0; step < 1000 && Drain() == 0; ++step) {
                m_pSimulation->AdvanceClock(1000);
            }
            WriteCommand(*m_pCamera, kTransmissionRegister, 0);
        } else {
            EXPECT_TRUE(word == "forget" || (word == "none" && m_events.empty())) << word;
            m_events.clear();
        }
    }
    void TakePin(const std::string& verb, unsigned int pin, unsigned int value) {
        bool isHigh = value != 0;
        EXPECT_TRUE(IsOk(verb == "pulse" ? m_pSimulation->PulseInput(1001, pin, value)
                         : verb == "pin" ? m_pSimulation->SetInput(1001, pin, isHigh)
                                         : m_pSimulation->GetPin(1001, pin, &isHigh)));
        EXPECT_EQ(isHigh, value != 0) << "pin " << pin;
    }
    unsigned int Drain() {
        return m_pStream->Drain([this](const Frame& frame) {
            m_picture.info = frame.info;
            m_picture.data.assign(frame.data, frame.data + frame.info.receivedSize);
        });
    }
    static unsigned int ToNumber(const std::string& text, int base = 10) {
        return static_cast<unsigned int>(std::stoul(text, nullptr, base));
    }

    std::unique_ptr<Listening> m_pStream;
    bool m_hasEvents = false;
    Picture m_picture;
    unsigned int m_counted = 0;
    std::vector<std::string> m_events;
};

}  // namespace Zevrin
