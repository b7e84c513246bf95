#include "GigePeer.h"

#include <cstdio>
#include <cstdlib>

namespace ZevrinBench {

namespace {

constexpr std::chrono::seconds kLongest(3600);

[[noreturn]] void End(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(EXIT_FAILURE);
}

Zevrin::SpawnOptions Unhurried() {
    Zevrin::SpawnOptions options;
    options.limit = kLongest;
    return options;
}

}  // namespace

GigePeer::GigePeer(unsigned int number) : m_number(number), m_address("127.0.0." + std::to_string(number)) {
    if (number != 1) {  // the address may be there already
        Zevrin::SpawnShell("PATH=$PATH:/usr/sbin:/sbin; ip address add " + m_address + "/8 dev lo");
    }
    m_pProcess = std::make_unique<Zevrin::Process>(
        std::vector<std::string>{ZEVRIN_FAKE_CAMERA_PROGRAM, "--serial", std::to_string(number), "--address",
                                 m_address, "--frame-rate", "1000"},
        Unhurried());
    if (!m_pProcess->WaitForOutput("ready")) {
        End("The fake camera does not start: " + m_pProcess->Finish().messages);
    }
}

void Require(const Zevrin::AravisError& error) {
    if (error.IsSet()) {
        End(error.GetText());
    }
}

BareDevice::BareDevice(const std::string& address) {
    const Zevrin::GObjectHandle<GInetAddress> pOwn(g_inet_address_new_from_string("127.0.0.1"));
    const Zevrin::GObjectHandle<GInetAddress> pDevice(g_inet_address_new_from_string(address.c_str()));
    Zevrin::AravisError error;
    m_pDevice.reset(arv_gv_device_new(pOwn.get(), pDevice.get(), error.Out()));
    Require(error);
}

void BareDevice::SetInteger(const char* feature, long long value) {
    Zevrin::AravisError error;
    arv_device_set_integer_feature_value(Get(), feature, value, error.Out());
    Require(error);
}

long long BareDevice::GetInteger(const char* feature) {
    Zevrin::AravisError error;
    const long long value = arv_device_get_integer_feature_value(Get(), feature, error.Out());
    Require(error);
    return value;
}

void BareDevice::Execute(const char* feature) {
    Zevrin::AravisError error;
    arv_device_execute_command(Get(), feature, error.Out());
    Require(error);
}

}  // namespace ZevrinBench
