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
#include "PixelFormats.h"

namespace Zevrin {
namespace {

TEST(GenicamTables, SerialNumberIsTheDecimalNumberOrAStableHash) {
    const struct {
        const char* text;
        unsigned int number;
    } cases[] = {
        {"20001", 20001},           {"00042", 42},      {"4294967295", 4294967295U},
        {"4294967296", 0xA5D2F78F},  // too long for 32 bits
        {"foobar", 0xBF9CF968},      // of the hash's own test vectors
        {"12 ", 0x63384B7E},        {"-1", 0x14CD0A2B}, {"", 0x811C9DC5},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(MakeSerialNumber(one.text), one.number) << '\'' << one.text << '\'';
    }
}

TEST(GenicamTables, FrameIdsNeverWrapAndTellGaps) {
    const struct {
        const char* what;
        std::vector<unsigned long long> received;
        unsigned long long lastId;
        unsigned int lastMissed;
    } cases[] = {
        {"the first is taken as it is", {65400}, 65400, 0},
        {"one after the other", {7, 8, 9}, 9, 0},
        {"a gap", {7, 11}, 11, 3},
        {"the wrap of 16 bits passes over 0", {65534, 65535, 1}, 65536, 0},
        {"a gap across the wrap", {65534, 3}, 65538, 3},
        {"the second round", {65535, 20000, 50000, 65535, 2}, 131072, 1},
        {"64-bit ids do not wrap", {65535, 65536, 65537}, 65537, 0},
        {"64-bit ids that begin anew", {70000, 1}, 70001, 0},
        {"far back is a new beginning", {200, 1}, 201, 0},
        {"twice the same", {5, 5}, 5, 0},
    };
    for (const auto& one : cases) {
        FrameIds ids;
        FrameIds::Step step;
        for (const unsigned long long received : one.received) {
            step = ids.Next(received);
        }
        EXPECT_EQ(step.id, one.lastId) << one.what;
        EXPECT_EQ(step.missed, one.lastMissed) << one.what;
    }
}

TEST(GenicamTables, FrameWithoutNumberIsTheOneThatWasDue) {
    FrameIds ids;
    EXPECT_EQ(ids.NextWithoutNumber().id, 0U);
    EXPECT_EQ(ids.Next(65534).id, 65534U);
    EXPECT_EQ(ids.NextWithoutNumber().id, 65535U);
    EXPECT_EQ(ids.NextWithoutNumber().id, 65536U);
    const FrameIds::Step step = ids.Next(3);
    EXPECT_EQ(step.id, 65538U);
    EXPECT_EQ(step.missed, 1U);
}

TEST(GenicamTables, FrameIdsMayBeginAnewWithTheAcquisition) {
    FrameIds ids;
    EXPECT_EQ(ids.Next(50000).id, 50000U);
    ids.ExpectRestart();
    EXPECT_EQ(ids.Next(50001).id, 50001U) << "sent before that";
    const FrameIds::Step step = ids.Next(1);
    EXPECT_EQ(step.id, 50002U);
    EXPECT_EQ(step.missed, 0U);
    EXPECT_EQ(ids.Next(3).missed, 1U);
    FrameIds near;
    EXPECT_EQ(near.Next(65530).id, 65530U);
    near.ExpectRestart();
    EXPECT_EQ(near.Next(2).missed, 6U) << "it counted on, and lost some at the wrap";
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

TEST(GenicamTables, PixelFormatsKeepTheirSizeAndColourOrder) {
    const struct {
        ArvPixelFormat genicam;
        PixelFormat format;
        BayerTileFormat bayerFormat;
        bool isColor;
    } cases[] = {
        {ARV_PIXEL_FORMAT_MONO_8, PIXEL_FORMAT_MONO8, BAYER_NONE, false},
        {ARV_PIXEL_FORMAT_MONO_12_PACKED, PIXEL_FORMAT_MONO12_PACKED, BAYER_NONE, false},
        {ARV_PIXEL_FORMAT_BAYER_GB_8, PIXEL_FORMAT_RAW8, BAYER_GBRG, true},
        {ARV_PIXEL_FORMAT_BAYER_RG_12, PIXEL_FORMAT_RAW16, BAYER_RGGB, true},
        {ARV_PIXEL_FORMAT_YUV_422_PACKED, PIXEL_FORMAT_YUV422, BAYER_NONE, true},
        {ARV_PIXEL_FORMAT_BGR_8_PACKED, PIXEL_FORMAT_BGR8, BAYER_NONE, true},
        {ARV_PIXEL_FORMAT_RGB_8_PLANAR, PIXEL_FORMAT_UNKNOWN, BAYER_NONE, true},
    };
    for (const auto& one : cases) {
        const PixelLayout layout = GetPixelLayout(one.genicam);
        EXPECT_EQ(layout.format, one.format) << std::hex << one.genicam;
        EXPECT_EQ(layout.bayerFormat, one.bayerFormat) << std::hex << one.genicam;
        EXPECT_EQ(IsColor(one.genicam), one.isColor) << std::hex << one.genicam;
        if (layout.format != PIXEL_FORMAT_UNKNOWN) {
            EXPECT_EQ(GetBitsPerPixel(layout.format), ARV_PIXEL_FORMAT_BIT_PER_PIXEL(one.genicam));
        }
    }
}

TEST(GenicamTables, DescriptionsAreLoadedFromTheDeviceAndOfModestSizeOnly) {
    const struct {
        const char* url;
        bool isGood;
    } cases[] = {
        {"Local:camera.xml;FFC00000;4000", true},
        {"local:Camera.zip;c0000;1a3f?SchemaVersion=1.1.0", true},
        {"Local:camera.zip;0;1000000", true},
        {"Local:camera.zip;0;1000001", false},
        {"Local:camera.zip;0;FFFFFFFFFFFFFFFFFFFFFFFF", false},
        {"Local:camera.zip;0;-1", false},
        {"Local:camera.zip;0;", false},
        {"Local:camera.zip;0", false},
        {"Local:camera.zip; 0;10", false},
        {"Local:camera.zip", false},
        {"file:///etc/passwd", false},
        {"http://example.com/camera.xml", false},
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
