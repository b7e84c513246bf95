#include "DeviceRegisters.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "CycleTime.h"
#include "DeviceLayout.h"
#include "SimulatedDevice.h"

namespace Zevrin {

namespace {

constexpr unsigned int kCycleTime = 0x200;
constexpr unsigned int kBusTime = 0x204;
constexpr unsigned int kConfigurationRom = 0x400;

// Configuration ROM (IEEE 1212) of an IIDC camera.
constexpr unsigned int kBusName = 0x31333934;           // "1394"
constexpr unsigned int kBusCapabilities = 0x2000A002;   // isochronous capable, 2048 byte asynchronous packets
constexpr unsigned int kCompanyId = 0x0000AC;           // the first three bytes of the camera's EUI-64
constexpr unsigned int kSpecifierId = 0x00A02D;         // 1394 Trade Association
constexpr unsigned int kSoftwareVersion131 = 0x000102;  // IIDC 1.31; 1.32 is told by the sub-version
constexpr unsigned int kNodeCapabilities = 0x0083C0;

unsigned int ReadCycleTime(const SimulatedDevice& device, unsigned int, unsigned int) {
    return MakeCycleTime(device.GetTime());
}

unsigned int ReadBusTime(const SimulatedDevice& device, unsigned int, unsigned int) {
    constexpr unsigned long long kNanosecondsPerSecond = 1000000000ULL;
    return static_cast<unsigned int>(device.GetTime() / kNanosecondsPerSecond);
}

unsigned int Entry(unsigned int key, unsigned int value) {
    return key << 24 | (value & 0xFFFFFF);
}

/// CRC-16 of IEEE 1212 over whole quadlets.
unsigned int Crc(const unsigned int* pQuadlets, std::size_t count) {
    unsigned int crc = 0;
    for (std::size_t index = 0; index < count; ++index) {
        for (int shift = 28; shift >= 0; shift -= 4) {
            const unsigned int sum = (crc >> 12 ^ pQuadlets[index] >> shift) & 0xF;
            crc = (crc << 4 ^ sum << 12 ^ sum << 5 ^ sum) & 0xFFFF;
        }
    }
    return crc;
}

using Rom = std::vector<unsigned int>;

/// Appends a block: its length and checksum, then its quadlets.
void AppendBlock(const Rom& block, Rom* pRom) {
    pRom->push_back(static_cast<unsigned int>(block.size()) << 16 | Crc(block.data(), block.size()));
    pRom->insert(pRom->end(), block.begin(), block.end());
}

/// A minimal ASCII text leaf.
Rom MakeTextLeaf(const std::string& text) {
    Rom leaf = {0, 0};
    const std::size_t quadlets = text.size() / 4 + 1;  // at least one zero byte at its end
    for (std::size_t index = 0; index < quadlets * 4; ++index) {
        if (index % 4 == 0) {
            leaf.push_back(0);
        }
        const unsigned int byte = index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
        leaf.back() |= byte << (24 - index % 4 * 8);
    }
    return leaf;
}

Rom MakeConfigurationRom(const CameraDescription& camera) {
    const Rom vendor = MakeTextLeaf(camera.vendorName);
    const Rom model = MakeTextLeaf(camera.modelName);
    constexpr unsigned int kRootSize = 3;
    constexpr unsigned int kUnitSize = 4;
    constexpr unsigned int kUnitDependentSize = 3;
    const auto vendorLeafSize = static_cast<unsigned int>(vendor.size()) + 1;

    Rom rom;
    const Rom busInfo = {kBusName, kBusCapabilities, kCompanyId << 8, camera.serialNumber};
    const auto busInfoSize = static_cast<unsigned int>(busInfo.size());
    rom.push_back(busInfoSize << 24 | busInfoSize << 16 | Crc(busInfo.data(), busInfo.size()));
    rom.insert(rom.end(), busInfo.begin(), busInfo.end());
    // Offsets to the blocks that follow count from the entry itself.
    AppendBlock({Entry(0x03, kCompanyId), Entry(0x0C, kNodeCapabilities), Entry(0xD1, 1)}, &rom);
    static_assert(kRootSize == 3, "the unit directory follows the root's last entry");
    AppendBlock({Entry(0x12, kSpecifierId), Entry(0x13, kSoftwareVersion131), Entry(0xD4, 2),
                 Entry(0x17, camera.iidcVersion)},
                &rom);
    static_assert(kUnitSize == 4, "the unit dependent directory follows one entry after its reference");
    AppendBlock({Entry(0x40, QuadletOffset(0)), Entry(0x81, kUnitDependentSize - 1),
                 Entry(0x82, kUnitDependentSize - 2 + vendorLeafSize)},
                &rom);
    AppendBlock(vendor, &rom);
    AppendBlock(model, &rom);
    return rom;
}

}  // namespace

std::vector<RegisterRow> MakeCoreRegisters(const CameraDescription& camera) {
    std::vector<RegisterRow> rows = {
        {kCycleTime, 1, 0, 0, "CYCLE_TIME", ReadCycleTime},
        {kBusTime, 1, 0, 0, "BUS_TIME", ReadBusTime},
    };
    unsigned int offset = kConfigurationRom;
    for (const unsigned int quadlet : MakeConfigurationRom(camera)) {
        rows.push_back({offset, 1, 0, quadlet, "configuration ROM"});
        offset += 4;
    }
    return rows;
}

}  // namespace Zevrin
