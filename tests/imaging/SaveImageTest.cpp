#include "zevrin/ImageFile.h"

#include <sys/resource.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>

#include "FrameQueue.h"
#include "Image.h"
#include "Iso.h"
#include "ReadPicture.h"
#include "components/FakeHardware.h"
#include "support/Checks.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {
namespace {

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

FrameInfo MakeInfo(PixelFormat format, unsigned int width, unsigned int height, unsigned int stride,
                   bool isBigEndian = true) {
    FrameInfo info;
    info.pixelFormat = format;
    info.width = width;
    info.height = height;
    info.stride = stride;
    info.isBigEndian = isBigEndian;
    return info;
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

void PrintTo(const WriterCase& row, std::ostream* pStream) {
    *pStream << row.suffix << " of " << GetPixelFormatName(row.format);
}

class SaveImageWriter : public testing::TestWithParam<WriterCase> {};

bool CanWrite(const std::string& suffix) {
    const std::vector<std::string> suffixes = GetImageFileSuffixes();
    return std::find(suffixes.begin(), suffixes.end(), suffix) != suffixes.end();
}

TEST_P(SaveImageWriter, KeepsEverySampleAndWhereItComesFrom) {
    const WriterCase& row = GetParam();
    const TemporaryFolder folder;
    const std::string path = folder.Path(std::string("image") + row.suffix);
    FrameInfo info = MakeInfo(row.format, 2, 2, row.stride, row.isBigEndian);
    info.frameId = 77;
    info.bayerFormat = BAYER_GBRG;
    info.significantBits = row.significantBits;
    info.hasTimeStamp = true;
    info.timeStamp.seconds = 1795421700;  // 2026-11-23 08:15:00 UTC
    info.timeStamp.microSeconds = 250;
    info.timeStamp.cycleSeconds = 100;
    info.timeStamp.cycleCount = 7999;
    info.timeStamp.cycleOffset = 3071;
    ImageMetadata metadata;
    metadata.serialNumber = 1001;
    metadata.exposureSeconds = 0.005;
    metadata.gainDb = 6.5;
    const Error error = SaveImage(MakeImage(info, row.bytes), path, metadata);
    if (!CanWrite(row.suffix)) {
        EXPECT_EQ(ERR_NOT_SUPPORTED, error.GetType());
        GTEST_SKIP() << "built without " << row.suffix;
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
    {".png", PIXEL_FORMAT_MONO8, 2, true, {1, 2, 3, 4}, 1, 8, {1, 2, 3, 4}},
    // The padding of the last row need not be there.
    {".png", PIXEL_FORMAT_RAW8, 4, true, {1, 2, 9, 9, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".png", PIXEL_FORMAT_MONO16, 4, true, kEight, 1, 16, kWords},
    {".png", PIXEL_FORMAT_RAW16, 4, false, kEight, 1, 16, kSwapped},
    {".png", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".png", PIXEL_FORMAT_BGR8, 6, true, {3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10}, 3, 8, kColors},
    {".png", PIXEL_FORMAT_YUV422, 4, true, {128, 1, 128, 2, 128, 3, 128, 4}, 3, 8, kGrey},
    {".png", PIXEL_FORMAT_MONO12_PACKED, 3, false, kPacked, 1, 16, {0xFFFF, 0, 0xABCA, 0}, {{"sBIT", "12"}}},
    {".png", PIXEL_FORMAT_RAW16, 4, false, kTwelveOf16, 1, 16, {0xFFFF, 0, 0xABCA, 0}, kTwelveBits, 12},
    {".tif", PIXEL_FORMAT_RAW8, 4, true, {1, 2, 9, 9, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".tif", PIXEL_FORMAT_MONO16, 4, true, kEight, 1, 16, kWords},
    {".tif", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".pgm", PIXEL_FORMAT_MONO8, 4, true, {1, 2, 9, 9, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".pgm",
     PIXEL_FORMAT_MONO12,
     4,
     false,
     {0xBC, 0x0A, 0, 0, 0xFF, 0x0F, 1, 0},
     1,
     12,
     {0xABC, 0, 0xFFF, 1}},
    {".ppm", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".npy", PIXEL_FORMAT_MONO8, 2, true, {1, 2, 3, 4}, 1, 8, {1, 2, 3, 4}},
    {".npy", PIXEL_FORMAT_RAW16, 4, true, kEight, 1, 16, kWords},
    {".npy", PIXEL_FORMAT_MONO10_PACKED, 3, true, {0xFF, 0x21, 0, 0, 0, 1}, 1, 16, {0x3FD, 2, 0, 4}},
    {".npy", PIXEL_FORMAT_RGB8, 6, true, kTwelve, 3, 8, kColors},
    {".raw", PIXEL_FORMAT_YUV422, 4, true, kEight, 1, 8, kAsItCame, kLayout},
};

INSTANTIATE_TEST_SUITE_P(Writers, SaveImageWriter, testing::ValuesIn(kWriterCases), [](const auto& row) {
    return (row.param.suffix + 1) + std::string(GetPixelFormatName(row.param.format)) +
           std::to_string(row.index);
});

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST(SaveImage, RefusesWhatItCannotWrite) {
    const TemporaryFolder folder;
    EXPECT_EQ(ERR_INVALID_PARAMETER, SaveImage(Image(), folder.Path("image.pgm")).GetType());
    const struct {
        const char* what;
        const char* name;
        FrameInfo info;
        std::size_t size;
        ErrorType type;
    } cases[] = {
        {"a format without pixels", "i.pgm", MakeInfo(PIXEL_FORMAT_UNKNOWN, 2, 2, 4), 8, ERR_NOT_SUPPORTED},
        {"a missing pixel", "i.npy", MakeInfo(PIXEL_FORMAT_MONO8, 2, 2, 2), 3, ERR_INVALID_PARAMETER},
        {"an unknown suffix", "i.gif", MakeInfo(PIXEL_FORMAT_MONO8, 2, 2, 2), 4, ERR_NOT_SUPPORTED},
        {"no suffix", "image", MakeInfo(PIXEL_FORMAT_MONO8, 2, 2, 2), 4, ERR_NOT_SUPPORTED},
        {"colours in a grey file", "i.pgm", MakeInfo(PIXEL_FORMAT_RGB8, 1, 1, 3), 3, ERR_NOT_SUPPORTED},
        {"grey in a colour file", "i.ppm", MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), 1, ERR_NOT_SUPPORTED},
    };
    for (const auto& row : cases) {
        const Image image = MakeImage(row.info, std::vector<unsigned char>(row.size));
        EXPECT_EQ(row.type, SaveImage(image, folder.Path(row.name)).GetType()) << row.what;
    }
    EXPECT_TRUE(NamesIn(folder.Path()).empty()) << "a refused image left a file";
}

TEST(SaveImage, ReplacesAFileAndLeavesNoOther) {
    const TemporaryFolder folder;
    const std::string path = folder.Path(std::string(251, 'n') + ".PGM");  // as long as names get
    std::ofstream(path) << "what was there before";
    const Image image = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), {77});
    ASSERT_EQ(ERR_OK, SaveImage(image, path).GetType());
    EXPECT_EQ(std::vector<unsigned int>{77}, ReadPictureFile(path).samples);
    EXPECT_EQ(1U, NamesIn(folder.Path()).size());
}

TEST(SaveImage, NamesTheFileThatCannotBeWritten) {
    const TemporaryFolder folder;
    std::ofstream(folder.Path("file")) << "not a folder";
    std::filesystem::create_directory(folder.Path("folder.pgm"));
    const Image image = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), {77});
    for (const char* name : {"missing/image.pgm", "file/image.npy", "folder.pgm"}) {
        EXPECT_TRUE(SaysPart(SaveImage(image, folder.Path(name)), ERR_FILE_FAILED, name));
    }
    EXPECT_EQ(2U, NamesIn(folder.Path()).size()) << "something was left behind";
}

/// A full disk, by a limit to what this process may write to one file.
TEST(SaveImage, LeavesTheOldFileWhenTheDiskIsFull) {
    std::vector<unsigned char> noise(1U << 20);
    unsigned int state = 1;
    std::generate(noise.begin(), noise.end(), [&state] {
        state = state * 1664525U + 1013904223U;
        return static_cast<unsigned char>(state >> 24);
    });
    const Image large = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1024, 1024, 1024), noise);
    const Image small = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), {77});
    for (const std::string suffix : {".png", ".tif", ".pgm", ".npy", ".raw"}) {
        if (!CanWrite(suffix)) {
            continue;
        }
        const TemporaryFolder folder;
        const std::string path = folder.Path("image" + suffix);
        ASSERT_EQ(ERR_OK, SaveImage(small, path).GetType());
        const std::size_t names = NamesIn(folder.Path()).size();

        rlimit before = {};
        ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = before;
        limit.rlim_cur = 100 * 1000;
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
        const Error error = SaveImage(large, path);
        ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
        std::signal(SIGXFSZ, oldHandler);

        EXPECT_TRUE(SaysPart(error, ERR_FILE_FAILED, "File too large")) << suffix;
        EXPECT_EQ(std::vector<unsigned int>{77}, ReadPictureFile(path).samples) << suffix;
        EXPECT_EQ(names, NamesIn(folder.Path()).size()) << "something was left behind";
    }
}

}  // namespace
}  // namespace Zevrin
