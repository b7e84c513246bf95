#include "zevrin/ImageFile.h"

#include <sys/resource.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>

#include "FrameQueue.h"
#include "Image.h"
#include "Iso.h"
#include "ReadPicture.h"
#include "components/FakeHardware.h"
#include "support/Checks.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {
namespace {

using namespace std::string_literals;

/// An image that has come through a stream, as every image does.
Image MakeImage(const FrameInfo& info, const std::vector<unsigned char>& bytes) {
    const auto pCamera = boost::make_shared<FakeHardware>();
    pCamera->m_format.payloadSize = bytes.size();
    Iso iso;
    iso.SetIO(pCamera, 0, 0);
    EXPECT_TRUE(IsOk(iso.StartCapture(ZevrinConfig(), nullptr, nullptr)));
    pCamera->SendFrame(info, bytes);
    Image image;
    EXPECT_TRUE(IsOk(iso.RetrieveBuffer(&image)));
    return image;
}

struct WriterCase {
    const char* suffix;
    PixelFormat format;
    unsigned int stride;  // of rows of two pixels; there are two rows
    bool isBigEndian;
    std::vector<unsigned char> bytes;
    unsigned int channels;
    unsigned int bits;
    std::vector<unsigned int> samples;
    std::map<std::string, std::string> facts = {};  // beyond those that every file of the kind has
    unsigned int significantBits = 0;               // as the camera tells
};

bool CanWrite(const std::string& suffix) {
    const std::vector<std::string> suffixes = GetImageFileSuffixes();
    return std::find(suffixes.begin(), suffixes.end(), suffix) != suffixes.end();
}

const std::vector<unsigned char> kEight = {1, 2, 3, 4, 5, 6, 7, 8};
const std::vector<unsigned char> kTwelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
const std::vector<unsigned int> kWords = {0x102, 0x304, 0x506, 0x708};
const std::vector<unsigned int> kSwapped = {0x201, 0x403, 0x605, 0x807};
const std::vector<unsigned int> kColors = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
const std::vector<unsigned int> kGrey = {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4};
const std::vector<unsigned char> kPacked = {0xFF, 0x0F, 0x00, 0xAB, 0x0C, 0x00};
const std::vector<unsigned char> kTwelveOf16 = {0xFF, 0x0F, 0, 0, 0xBC, 0x0A, 0, 0};
const std::map<std::string, std::string> kTwelveBits = {{"sBIT", "12"}, {"significantBits", "12"}};
const std::vector<unsigned int> kAsItCame = {1, 2, 3, 4, 5, 6, 7, 8};
const std::map<std::string, std::string> kLayout = {{"size", "8"}, {"stride", "4"}, {"bigEndian", "true"}};

const WriterCase kWriterCases[] = {
    // The padding of the last row need not be there.
    {".png", PIXEL_FORMAT_RAW8, 4, true, {1, 2, 9, 9, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".png", PIXEL_FORMAT_MONO16, 4, true, kEight, 1, 16, kWords},
    {".png", PIXEL_FORMAT_RAW16, 4, false, kEight, 1, 16, kSwapped},
    {".png", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".png", PIXEL_FORMAT_YUV422, 4, true, {128, 1, 128, 2, 128, 3, 128, 4}, 3, 8, kGrey},
    {".png", PIXEL_FORMAT_MONO12_PACKED, 3, false, kPacked, 1, 16, {0xFFFF, 0, 0xABCA, 0}, {{"sBIT", "12"}}},
    {".png", PIXEL_FORMAT_RAW16, 4, false, kTwelveOf16, 1, 16, {0xFFFF, 0, 0xABCA, 0}, kTwelveBits, 12},
    {".tif", PIXEL_FORMAT_RAW8, 4, true, {1, 2, 9, 9, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".tif", PIXEL_FORMAT_MONO16, 4, true, kEight, 1, 16, kWords},
    {".tif", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".pgm", PIXEL_FORMAT_MONO8, 4, true, {1, 2, 9, 9, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".pgm", PIXEL_FORMAT_MONO12, 4, false, kTwelveOf16, 1, 12, {0xFFF, 0, 0xABC, 0}},
    {".ppm", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".npy", PIXEL_FORMAT_RAW16, 4, true, kEight, 1, 16, kWords},
    {".npy", PIXEL_FORMAT_MONO10_PACKED, 3, true, {0xFF, 0x21, 0, 0, 0, 1}, 1, 16, {0x3FD, 2, 0, 4}},
    {".npy", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".raw", PIXEL_FORMAT_YUV422, 4, true, kEight, 1, 8, kAsItCame, kLayout},
};

TEST(SaveImage, KeepsEverySampleAndWhereItComesFrom) {
    for (const WriterCase& row : kWriterCases) {
        SCOPED_TRACE(std::string(row.suffix) + " of " + GetPixelFormatName(row.format));
        const TemporaryFolder folder;
        const std::string path = folder.Path(std::string("image") + row.suffix);
        FrameInfo info;
        info.width = 2;
        info.height = 2;
        info.stride = row.stride;
        info.pixelFormat = row.format;
        info.bayerFormat = BAYER_GBRG;
        info.significantBits = row.significantBits;
        info.isBigEndian = row.isBigEndian;
        info.frameId = 77;
        info.hasTimeStamp = true;
        info.timeStamp = {1795421700, 250, 100, 7999, 3071};  // 2026-11-23 08:15:00 UTC
        const ImageMetadata metadata{1001, {}, {}, 0.005, 6.5};
        const Error error = SaveImage(MakeImage(info, row.bytes), path, metadata);
        if (!CanWrite(row.suffix)) {
            EXPECT_EQ(ERR_NOT_SUPPORTED, error.GetType());
            continue;
        }
        ASSERT_TRUE(IsOk(error));
        const ReadPicture picture = ReadPictureFile(path);
        EXPECT_EQ(row.channels, picture.channels);
        EXPECT_EQ(row.bits, picture.bits);
        EXPECT_EQ(row.samples, picture.samples);
        std::map<std::string, std::string> facts = {{"serialNumber", "1001"},
                                                    {"frameId", "77"},
                                                    {"time", "2026-11-23T08:15:00.000250Z"},
                                                    {"cycleSeconds", "100"},
                                                    {"cycleCount", "7999"},
                                                    {"cycleOffset", "3071"},
                                                    {"exposureSeconds", "0.005"},
                                                    {"gainDb", "6.5"},
                                                    {"bayerTile", "GBRG"},
                                                    {"width", "2"},
                                                    {"height", "2"},
                                                    {"pixelFormat", GetPixelFormatName(row.format)}};
        facts.insert(row.facts.begin(), row.facts.end());
        if (std::string(row.suffix) == ".tif") {
            facts.insert({{"DateTime", "2026:11:23 08:15:00"}, {"CameraSerialNumber", "1001"}});
        }
        EXPECT_EQ(facts, picture.facts);
    }
}

std::vector<std::string> NamesIn(const TemporaryFolder& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST(SaveImage, RefusesWhatItCannotWriteAndLeavesNothing) {
    const TemporaryFolder folder;
    std::ofstream(folder.Path("file")) << "not a folder";
    std::filesystem::create_directory(folder.Path("folder.pgm"));
    const std::vector<unsigned char> bytes(8);
    const PixelView grey{bytes.data(), 4, 2, 2, 2, PIXEL_FORMAT_MONO8};
    const struct {
        const char* name;
        PixelView pixels;
        ErrorType type;
        const char* part;  // of the message
    } cases[] = {
        {"i.pgm", {bytes.data(), 8, 2, 2, 4, PIXEL_FORMAT_UNKNOWN}, ERR_NOT_SUPPORTED, ""},
        {"i.npy", {bytes.data(), 3, 2, 2, 2, PIXEL_FORMAT_MONO8}, ERR_INVALID_PARAMETER, "3 bytes"},
        {"i.gif", grey, ERR_NOT_SUPPORTED, ".pgm"},
        {"image", grey, ERR_NOT_SUPPORTED, ".pgm"},
        {"i.pgm", {bytes.data(), 3, 1, 1, 3, PIXEL_FORMAT_RGB8}, ERR_NOT_SUPPORTED, ""},
        {"i.ppm", grey, ERR_NOT_SUPPORTED, ""},
        {"missing/image.pgm", grey, ERR_FILE_FAILED, "missing/image.pgm"},
        {"file/image.npy", grey, ERR_FILE_FAILED, "file/image.npy"},
        {"folder.pgm", grey, ERR_FILE_FAILED, "folder.pgm"},
    };
    for (const auto& row : cases) {
        EXPECT_TRUE(SaysPart(SavePixels(row.pixels, folder.Path(row.name)), row.type, row.part)) << row.name;
    }
    EXPECT_EQ(ERR_INVALID_PARAMETER, SaveImage(Image(), folder.Path("image.pgm")).GetType());
    EXPECT_EQ(2U, NamesIn(folder).size()) << "something was left behind";
}

/// A full disk, by a limit to what this process may write to one file.
TEST(SaveImage, ReplacesAFileAndLeavesItWhenTheDiskIsFull) {
    std::vector<unsigned char> noise(1U << 20);
    unsigned int state = 1;
    std::generate(noise.begin(), noise.end(), [&state] {
        state = state * 1664525U + 1013904223U;
        return static_cast<unsigned char>(state >> 24);
    });
    const PixelView large{noise.data(), noise.size(), 1024, 1024, 1024, PIXEL_FORMAT_MONO8};
    const PixelView small{noise.data(), 1, 1, 1, 1, PIXEL_FORMAT_MONO8};
    const std::string longest = std::string(251, 'n') + ".PGM";
    for (const std::string& name : {"i.png"s, "i.tif"s, "i.npy"s, "i.raw"s, longest}) {
        if (name != longest && !CanWrite(name.substr(1))) {
            continue;
        }
        const TemporaryFolder folder;
        const std::string path = folder.Path(name);
        std::ofstream(path) << "what was there before";
        ASSERT_EQ(ERR_OK, SavePixels(small, path).GetType());
        const std::vector<std::string> names = NamesIn(folder);

        rlimit before = {};
        ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = before;
        limit.rlim_cur = 100 * 1000;
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
        const Error error = SavePixels(large, path);
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
        std::signal(SIGXFSZ, oldHandler);

        EXPECT_TRUE(SaysPart(error, ERR_FILE_FAILED, "File too large")) << name;
        EXPECT_EQ(std::vector<unsigned int>{noise[0]}, ReadPictureFile(path).samples) << name;
        EXPECT_EQ(names, NamesIn(folder)) << "something was left behind";
    }
}

}  // namespace
}  // namespace Zevrin
