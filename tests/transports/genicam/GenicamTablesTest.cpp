#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

#include "BufferMarks.h"
#include "DescriptionUrl.h"
#include "DeviceListing.h"
#include "FeatureTable.h"
#include "FrameIds.h"
#include "GigeFixture.h"

namespace Zevrin {
namespace {

TEST(GenicamTables, SerialNumberIsTheDecimalNumberOrAStableHash) {
    const struct {
        const char* text;
        unsigned int number;
    } cases[] = {
        {"20001", 20001},           {"00042", 42},    {"4294967295", 4294967295U},
        {"4294967296", 0xA5D2F78F},  // too long for 32 bits
        {"foobar", 0xBF9CF968},      // of the hash's own test vectors
        {"12 ", 0x63384B7E},        {"", 0x811C9DC5},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(MakeSerialNumber(one.text), one.number) << '\'' << one.text << '\'';
    }
}

TEST(GenicamTables, FrameIdsNeverWrapAndTellGaps) {
    using Ids = std::vector<unsigned long long>;
    constexpr unsigned long long kNone = 0;       // the frame has no number
    constexpr unsigned long long kRestart = ~0U;  // acquisition begins anew
    const struct {
        const char* what;
        Ids received;
        Ids ids;
        unsigned int lastMissed;
    } cases[] = {
        {"the first is taken as it is", {65400}, {65400}, 0},
        {"one after the other", {7, 8, 9}, {7, 8, 9}, 0},
        {"a gap", {7, 11}, {7, 11}, 3},
        {"the wrap of 16 bits passes over 0", {65534, 65535, 1}, {65534, 65535, 65536}, 0},
        {"a gap across the wrap", {65534, 3}, {65534, 65538}, 3},
        {"the second round", {65535, 20000, 50000, 65535, 2}, {65535, 85535, 115535, 131070, 131072}, 1},
        {"64-bit ids do not wrap", {65535, 65536, 65537}, {65535, 65536, 65537}, 0},
        {"64-bit ids that begin anew", {70000, 1}, {70000, 70001}, 0},
        {"far back is a new beginning", {200, 1}, {200, 201}, 0},
        {"twice the same", {5, 5}, {5, 5}, 0},
        {"one without a number was due", {kNone, 65534, kNone, kNone, 3}, {0, 65534, 65535, 65536, 65538}, 1},
        {"a straggler, and a restart", {50000, kRestart, 50001, 1}, {50000, 50001, 50002}, 0},
        {"a restart happens once", {50000, kRestart, 1, 3}, {50000, 50001, 50003}, 1},
        {"it counted on, and lost some at the wrap", {65530, kRestart, 2}, {65530, 65537}, 6},
    };
    for (const auto& one : cases) {
        FrameIds ids;
        FrameIds::Step step;
        Ids found;
        for (const unsigned long long received : one.received) {
            if (received == kRestart) {
                ids.ExpectRestart();
                continue;
            }
            step = received == kNone ? ids.NextWithoutNumber() : ids.Next(received);
            found.push_back(step.id);
        }
        EXPECT_EQ(found, one.ids) << one.what;
        EXPECT_EQ(step.missed, one.lastMissed) << one.what;
    }
}

TEST(GenicamTables, BuffersTellWhatWasNeverWritten) {
    constexpr std::size_t kPacket = 20;
    const BufferMarks marks;
    for (const std::size_t size : {63U, 64U, 67U}) {               // three packets and a short one
        for (unsigned int arrived = 0; arrived < 16; ++arrived) {  // a bit for each packet
            std::vector<unsigned char> buffer(size + 1, 0xEE);
            marks.Fill(buffer.data(), size);
            std::vector<bool> isMissing(size, true);
            for (std::size_t byte = 0; byte < size; ++byte) {
                if ((arrived >> byte / kPacket & 1) != 0) {
                    buffer[byte] = 0x77;
                    isMissing[byte] = false;
                }
            }
            std::vector<bool> found(size, false);
            for (const ByteRange& range : marks.FindAndClear(buffer.data(), size)) {
                std::fill_n(found.begin() + static_cast<std::ptrdiff_t>(range.offset), range.size, true);
            }
            EXPECT_EQ(found, isMissing) << size << ' ' << arrived;
            for (std::size_t byte = 0; byte < size; ++byte) {
                EXPECT_EQ(buffer[byte], isMissing[byte] ? 0 : 0x77) << size << ' ' << arrived << ' ' << byte;
            }
            EXPECT_EQ(buffer[size], 0xEE);
        }
    }
}

TEST(GenicamTables, DescriptionsAreLoadedFromTheDeviceAndOfModestSizeOnly) {
    const struct {
        const char* url;
        bool isGood;
    } cases[] = {
        {"Local:camera.xml;FFC00000;4000", true},
        {"local:Camera.zip;c0000;1000000?SchemaVersion=1.1.0", true},
        {"Local:camera.zip;0;1000001", false},
        {"Local:camera.zip;0;FFFFFFFFFFFFFFFFFFFFFFFF", false},
        {"Local:camera.zip;0;-1", false},
        {"Local:camera.zip;0;", false},
        {"Local:camera.zip;0", false},
        {"Local:camera.zip; 0;10", false},
        {"file:///etc/passwd", false},
        {"Loca", false},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(FindUrlFault(one.url) == nullptr, one.isGood) << one.url;
    }
    const std::string good = MakeArchiveEntry(0x1000000);
    for (const std::string& archive :
         {good, good + MakeArchiveEntry(0x1000001), "PK" + MakeArchiveEntry(~0U)}) {
        const std::vector<unsigned char> file(archive.begin(), archive.end());
        EXPECT_EQ(FindArchiveFault(file) == nullptr, archive == good);
        EXPECT_EQ(FindArchiveFault({file.begin(), file.begin() + 45}), nullptr) << "cut short";
    }
}

TEST(GenicamTables, DocumentNamesEveryFeatureOfTheRegisterView) {
    std::ifstream file(ZEVRIN_GIGE_DOCUMENT);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const auto expectNamed = [&](const char* name) {
        if (name != nullptr) {
            EXPECT_NE(text.find(name), std::string::npos) << name;
        }
    };
    for (const PropertyMapping& mapping : kPropertyMappings) {
        for (const ValueFeature& value : mapping.values) {
            expectNamed(value.feature);
        }
        for (const FeatureNames& names : {mapping.autos, mapping.switches, mapping.selector.entries}) {
            std::for_each(names.begin(), names.end(), expectNamed);
        }
        expectNamed(mapping.selector.feature);
    }
}

}  // namespace
}  // namespace Zevrin
