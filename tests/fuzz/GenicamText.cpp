#include "DescriptionCheck.h"
#include "DeviceListing.h"
#include "FormatText.h"
#include "Fuzz.h"

namespace {

using namespace Zevrin;

/// The text is a camera's description of itself, and a word that a camera says.
void Run(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    RequirePrintable(Printable(text) + ".");
    const unsigned int serialNumber = MakeSerialNumber(text);
    Require(MakeSerialNumber(std::to_string(serialNumber)) == serialNumber, "a decimal number is itself");
    g_log_set_default_handler([](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
    ArvGc* const pDescription = arv_gc_new(nullptr, text.data(), text.size());
    if (ARV_IS_GC(pDescription)) {
        const std::string fault = FindDescriptionFault(pDescription);
        RequirePrintable(fault + ".");
        g_object_unref(pDescription);
    }
}

const FuzzHarness kHarness("GenicamText", Run);

}  // namespace
