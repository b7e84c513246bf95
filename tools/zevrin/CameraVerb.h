#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include <zevrin/IidcCamera.h>

#include "Output.h"
#include "Tool.h"

namespace ZevrinTool {

/// The one camera that a verb works with, connected.
struct Target {
    const Tool& tool;
    unsigned int serialNumber;
    Zevrin::IidcCamera& camera;

    /// Throws `ToolFailure` when `error` is one, with the camera's name.
    void Check(const Zevrin::Error& error) const;

    /// Throws the `ToolFailure` of a camera that lacks what a verb is about, such as "strobe outputs".
    [[noreturn]] void Lack(const std::string& feature) const;

    /// The verb's answer, in the form that the command line asks for.
    void Show(const Facts& facts) const { Show(facts, "", {}); }
    /// With a table below it, or alone, which `key` names for programs.
    void Show(const Facts& facts, const std::string& key, const std::vector<Facts>& rows) const;
};

/// Lets the camera stream while this object is there; the images are counted and let go.
class IdleStream {
  public:
    explicit IdleStream(const Target& target);
    ~IdleStream();
    IdleStream(const IdleStream&) = delete;
    IdleStream& operator=(const IdleStream&) = delete;

    unsigned long long CountImages() const { return m_images; }

  private:
    Zevrin::IidcCamera& m_camera;
    std::atomic<unsigned long long> m_images{0};
};

using CameraWork = std::function<void(const Target&)>;

/// Adds the argument SERIAL, behind those that the verb has already, and says what it does with its camera.
void WorkOnCamera(CLI::App& verb, Tool& tool, const CameraWork& work);

/// Throws `ToolFailure` when a command line that is to set something names nothing.
void RequireAny(bool isAnything);

/// What a command line changes of a record that holds the camera's setting.
template <typename Record>
class Changes {
  public:
    /// Takes an option's value for one member of the record. This object must outlive it.
    template <typename Value>
    auto Into(Value Record::*pMember) {
        return [this, pMember](auto value) {
            m_changes.push_back([=](Record& record) { record.*pMember = static_cast<Value>(value); });
        };
    }

    /// Throws `ToolFailure` when there is nothing to change.
    void Apply(Record* pRecord) const {
        RequireAny(!m_changes.empty());
        for (const auto& change : m_changes) {
            change(*pRecord);
        }
    }

    bool IsEmpty() const { return m_changes.empty(); }

  private:
    std::vector<std::function<void(Record&)>> m_changes;
};

/// Adds --on and --off.
void AddSwitch(CLI::App& verb, const std::string& what, const std::function<void(bool)>& sink);

}  // namespace ZevrinTool
