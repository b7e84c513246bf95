#include "CameraVerb.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "Numbers.h"
#include "Session.h"

namespace ZevrinTool {

void Target::Check(const Zevrin::Error& error) const {
    ZevrinTool::Check(error, NameOf(serialNumber));
}

void Target::Lack(const std::string& feature) const {
    throw ToolFailure(kExitFailed, NameOf(serialNumber) + " has no " + feature);
}

void Target::Show(const Facts& facts, const std::string& key, const std::vector<Facts>& rows) const {
    if (!tool.json) {
        PrintLines(facts);
        PrintRows(rows);
        return;
    }
    Json document = {{"serialNumber", serialNumber}};
    document.update(ToJson(facts));
    if (!key.empty()) {
        Json& list = document[key] = Json::array();
        for (const Facts& row : rows) {
            list.push_back(ToJson(row));
        }
    }
    Print(document);
}

IdleStream::IdleStream(const Target& target) : m_camera(target.camera) {
    const auto count = [](Zevrin::Image*, const void* pImages) {
        ++*const_cast<std::atomic<unsigned long long>*>(
            static_cast<const std::atomic<unsigned long long>*>(pImages));
    };
    target.Check(m_camera.StartCapture(count, &m_images));
}

IdleStream::~IdleStream() {
    const Zevrin::Error ignored = m_camera.StopCapture();
    static_cast<void>(ignored);  // the camera may have gone
}

void WorkOnCamera(CLI::App& verb, Tool& tool, const CameraWork& work) {
    auto pNamed = std::make_shared<std::vector<unsigned int>>();
    AddNumbers(verb, "SERIAL", pNamed.get(), NumberRule(), "Serial number of the camera")->expected(0, 1);
    verb.callback([&tool, pNamed, work] {
        tool.run = [&tool, pNamed, work] {
            Session session(tool);
            const unsigned int serialNumber = session.Choose(*pNamed).front();
            const auto pCamera = session.Connect(serialNumber);
            work({tool, serialNumber, *pCamera});
        };
    });
}

void RequireAny(bool isAnything) {
    if (!isAnything) {
        throw ToolFailure(kExitUsage, "nothing is to be set; the verb's --help shows what can be");
    }
}

void AddSwitch(CLI::App& verb, const std::string& what, const std::function<void(bool)>& sink) {
    CLI::Option* const pOn = verb.add_flag_callback(
        "--on", [sink] { sink(true); }, "Switches " + what + " on");
    verb.add_flag_callback(
            "--off", [sink] { sink(false); }, "Switches " + what + " off")
        ->excludes(pOn);
}

}  // namespace ZevrinTool
