#include <cstddef>
#include <iostream>
#include <memory>

#include "CommandLine.h"
#include "Numbers.h"
#include "Output.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::Error;
using Zevrin::IidcCamera;

constexpr unsigned int kMaxCount = 65536;
constexpr unsigned int kQuadletSize = 4;
constexpr NumberRule kAddressRule = {0, 0xFFFFFFFFU, kQuadletSize};

/// What addresses count from.
struct Space {
    const char* name;
    const char* option;  ///< null: the space when no option chooses one
    const char* help;
    int addressHigh;  ///< of whole addresses; -1: the camera object adds where the space begins
    bool isBase;
};

constexpr Space kSpaces[] = {
    {"command", nullptr, nullptr, -1, false},
    {"base", "--base", "Addresses count from the initial register space, not from the command registers", -1,
     true},
    {"whole", "--whole", "Addresses are whole ones, under the high part 0xFFFF", 0xFFFF, false},
    {"memory", "--memory", "Addresses are those of a GenICam device's own memory (high part 0x0000)", 0x0000,
     false},
};

struct Access {
    const Space* pSpace = &kSpaces[0];
    unsigned int address = 0;
    unsigned int count = 1;            ///< quadlets to read
    std::vector<unsigned int> values;  ///< read, or to be written
    std::vector<unsigned int> named;   ///< serial number; empty: the one camera
};

Error Read(IidcCamera& camera, Access* pAccess) {
    const Space& space = *pAccess->pSpace;
    std::vector<unsigned int>& values = pAccess->values;
    values.resize(pAccess->count);
    if (space.addressHigh >= 0) {
        return camera.ReadRegisterBlock(static_cast<unsigned short>(space.addressHigh), pAccess->address,
                                        values.data(), pAccess->count);
    }
    Error error;
    unsigned int address = pAccess->address;
    for (auto value = values.begin(); value != values.end() && error == Zevrin::ERR_OK; ++value) {
        error =
            space.isBase ? camera.ReadBaseRegister(address, &*value) : camera.ReadRegister(address, &*value);
        address += kQuadletSize;
    }
    return error;
}

Error Write(IidcCamera& camera, const Access& access) {
    if (access.pSpace->addressHigh >= 0) {
        return camera.WriteRegisterBlock(static_cast<unsigned short>(access.pSpace->addressHigh),
                                         access.address, access.values.data(),
                                         static_cast<unsigned int>(access.values.size()));
    }
    Error error;
    unsigned int address = access.address;
    for (auto value = access.values.begin(); value != access.values.end() && error == Zevrin::ERR_OK;
         ++value) {
        error = access.pSpace->isBase ? camera.WriteBaseRegister(address, *value)
                                      : camera.WriteRegister(address, *value);
        address += kQuadletSize;
    }
    return error;
}

void CheckRange(const Access& access, std::size_t count) {
    const unsigned int last = 0xFFFFFFFFU / kQuadletSize;
    if (count - 1 > last - access.address / kQuadletSize) {
        throw ToolFailure(kExitUsage, std::to_string(count) + " quadlets from " + Hex(access.address) +
                                          " end past the 32-bit address space");
    }
}

void Show(const Tool& tool, unsigned int serialNumber, const Access& access) {
    Json registers = Json::array();
    unsigned int address = access.address;
    for (const unsigned int value : access.values) {
        if (tool.json) {
            registers.push_back({{"address", address}, {"value", value}});
        } else {
            std::cout << Hex(address) << "  " << Hex(value) << "\n";
        }
        address += kQuadletSize;
    }
    if (tool.json) {
        Print({{"serialNumber", serialNumber}, {"space", access.pSpace->name}, {"registers", registers}});
    }
}

void RunRead(const Tool& tool, Access& access) {
    CheckRange(access, access.count);
    Session session(tool);
    const unsigned int serialNumber = session.Choose(access.named).front();
    const auto pCamera = session.Connect(serialNumber);
    Check(Read(*pCamera, &access), NameOf(serialNumber));
    Show(tool, serialNumber, access);
}

void RunWrite(const Tool& tool, const Access& access) {
    CheckRange(access, access.values.size());
    Session session(tool);
    const unsigned int serialNumber = session.Choose(access.named).front();
    const auto pCamera = session.Connect(serialNumber);
    Check(Write(*pCamera, access), NameOf(serialNumber));
    if (tool.json) {
        Show(tool, serialNumber, access);
    }
}

/// What reading and writing have in common.
std::shared_ptr<Access> AddAccess(CLI::App& verb) {
    auto pAccess = std::make_shared<Access>();
    AddNumber(verb, "ADDRESS", "<address>", &pAccess->address, kAddressRule,
              "Byte address of the quadlet, a multiple of 4")
        ->required();
    std::vector<CLI::Option*> flags;
    for (const Space& space : kSpaces) {
        if (space.option != nullptr) {
            CLI::Option* const pFlag = verb.add_flag_callback(
                space.option, [pAccess, &space] { pAccess->pSpace = &space; }, space.help);
            for (CLI::Option* const pOther : flags) {
                pFlag->excludes(pOther);
            }
            flags.push_back(pFlag);
        }
    }
    return pAccess;
}

void AddSerial(CLI::App& verb, Access* pAccess) {
    AddNumbers(verb, "SERIAL", &pAccess->named, NumberRule(), "Serial number of the camera")->expected(0, 1);
}

constexpr char kRegFooter[] = R"(Examples:
  zevrin reg read 0x610 1001
  zevrin reg write 0x600 0x60000000 1001
)";

constexpr char kReadFooter[] = R"(Examples:
  zevrin reg read 0x610 1001
  zevrin reg read 0x600 -n 3 1001
  zevrin --json reg read --base 0x400 1001
  zevrin reg read --whole 0xF0F00614 1001
)";

constexpr char kWriteFooter[] = R"(Examples:
  zevrin reg write 0x600 0x60000000 1001
  zevrin reg write 0x604 0,0xE0000000 1001
)";

}  // namespace

void AddRegVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pReg = AddVerb(app, "reg", "Reads and writes registers", kRegFooter);
    pReg->require_subcommand(1);

    CLI::App* const pRead = AddVerb(*pReg, "read", "Reads registers", kReadFooter);
    const auto pToRead = AddAccess(*pRead);
    AddSerial(*pRead, pToRead.get());
    AddNumber(*pRead, "-n,--count", "<quadlets>", &pToRead->count, {1, kMaxCount, 1},
              "Quadlets at consecutive addresses, 1 to 65536 (default: 1)");
    pRead->callback([&tool, pToRead] { tool.run = [&tool, pToRead] { RunRead(tool, *pToRead); }; });

    CLI::App* const pWrite = AddVerb(*pReg, "write", "Writes registers", kWriteFooter);
    const auto pToWrite = AddAccess(*pWrite);
    AddNumberList(*pWrite, "VALUE", &pToWrite->values, NumberRule(),
                  "What to write, 0 to 0xFFFFFFFF; several, separated by commas, go to consecutive addresses")
        ->required();
    AddSerial(*pWrite, pToWrite.get());
    pWrite->callback([&tool, pToWrite] { tool.run = [&tool, pToWrite] { RunWrite(tool, *pToWrite); }; });
}

}  // namespace ZevrinTool
