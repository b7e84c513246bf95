#pragma once

#include <sstream>

#include "SimulatedFixture.h"

namespace Zevrin {

/// A camera that follows a text, on a clock set by hand. Numbers are hexadecimal in registers, else decimal.
///
/// - `830<83000000` writes a register; `830=83000000` expects it to read so;
/// - `+1000` lets so many microseconds pass;
/// - `pulse:2:100` raises pin 2 for 100 microseconds; `pin:2:1` sets it, `level:2:1` expects it to be so;
/// - `frames:2` takes what has arrived, which is to be two frames; `pixel:99` expects so bright a last one;
/// - `count:400` expects that so many frames were sent since the last count, give or take one;
/// - `Trigger:1@500` expects the next event, with its number, at this microsecond; `has:Trigger:1@5` expects
/// it
///   among those that wait, `last:Trigger:1@5` as the last of them, which are done with; `none` expects that
///   no event waits, `forget` drops those that do;
/// - `unplug` and `replug` do as they say.
class ScriptedCamera : public EventSink {
  public:
    explicit ScriptedCamera(const std::string& description)
        : m_pSimulation(MakeSimulation(description)), m_pCamera(OpenCamera(1001)), m_stream(*m_pCamera) {
        m_hasEvents = m_pCamera->SetEventSink(this) == ERR_OK;
    }
    ~ScriptedCamera() override { EXPECT_TRUE(!m_hasEvents || IsOk(m_pCamera->SetEventSink(nullptr))); }

    /// What follows a # up to the end of its line is a comment.
    void Follow(const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            SCOPED_TRACE(line);
            std::istringstream steps(line.substr(0, line.find('#')));
            for (std::string step; steps >> step;) {
                Take(step);
            }
        }
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
        const std::size_t sign = step.find_first_of("<=:+");
        const std::string verb = step.substr(0, sign);
        const std::string rest = sign == std::string::npos ? "" : step.substr(sign + 1);
        if (sign == std::string::npos) {
            TakeWord(step);
        } else if (step[sign] == '<') {
            WriteCommand(*m_pCamera, ToNumber(verb, 16), ToNumber(rest, 16));
        } else if (step[sign] == '=') {
            EXPECT_EQ(ReadCommand(*m_pCamera, ToNumber(verb, 16)), ToNumber(rest, 16)) << std::hex << step;
        } else if (step[sign] == '+') {
            m_pSimulation->AdvanceClock(ToNumber(rest));
        } else if (verb == "frames") {
            EXPECT_EQ(m_stream.Drain([this](const Frame& frame) { m_pixel = frame.data[200 * 640 + 300]; }),
                      ToNumber(rest));
        } else if (verb == "count") {
            m_stream.Drain();
            EXPECT_NEAR(m_stream.CountAll(), m_counted + ToNumber(rest), 1) << step;
            m_counted = m_stream.CountAll();
        } else if (verb == "pixel") {
            EXPECT_NEAR(m_pixel, ToNumber(rest), 1);
        } else if (verb == "pulse" || verb == "pin" || verb == "level") {
            TakePin(verb, ToNumber(rest), ToNumber(rest.substr(rest.find(':') + 1)));
        } else if (verb == "has") {
            EXPECT_EQ(std::count(m_events.begin(), m_events.end(), rest), 1) << rest;
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
    static unsigned int ToNumber(const std::string& text, int base = 10) {
        return static_cast<unsigned int>(std::stoul(text, nullptr, base));
    }

    Listening m_stream;
    bool m_hasEvents = false;
    unsigned int m_pixel = 0;
    unsigned int m_counted = 0;
    std::vector<std::string> m_events;
};

}  // namespace Zevrin
