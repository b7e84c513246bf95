#include "zevrin/ImageFile.h"

#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

#include "FrameQueue.h"
#include "HardwareInterface.h"
#include "Image.h"
#include "Iso.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {
namespace {

/// A camera that accepts everything and sends what the test puts into its queue.
class QuietCamera : public HardwareInterface {
  public:
    int GetInterfaceType() const override { return INTERFACE_UNKNOWN; }
    CameraIdentity GetIdentity() const override { return CameraIdentity(); }
    Error Open() override { return Error(); }
    void Close() override {}
    RegisterBases GetRegisterBases() const override { return RegisterBases(); }
    Error ReadQuadlets(unsigned short, unsigned int, unsigned int*, unsigned int) override { return Error(); }
    Error WriteQuadlets(unsigned short, unsigned int, const unsigned int*, unsigned int, bool) override {
        return Error();
    }
    Error GetBusTime(TimeStamp*) override { return Error(); }
    Error GetPortErrors(unsigned int*) override { return Error(); }
    Error GetStreamFormat(StreamFormat* pFormat) override {
        pFormat->payloadSize = payloadSize;
        return Error();
    }
    Error StartStream(const ZevrinConfig&, const boost::shared_ptr<FrameQueue>& pStreamQueue) override {
        pQueue = pStreamQueue;
        return Error();
    }
    bool IsStreaming(const boost::shared_ptr<FrameQueue>&) const override { return true; }
    void StopStream(const boost::shared_ptr<FrameQueue>&) override {}
    StreamCounters GetStreamCounters() const override { return StreamCounters(); }

    std::size_t payloadSize = 0;
    boost::shared_ptr<FrameQueue> pQueue;
};

/// An image that has come through a stream, as every image does.
Image MakeImage(const FrameInfo& info, const std::vector<unsigned char>& bytes) {
    const auto pCamera = boost::make_shared<QuietCamera>();
    pCamera->payloadSize = bytes.size();
    Iso iso;
    iso.SetIO(pCamera, 0, 0);
    EXPECT_EQ(ERR_OK, iso.StartCapture(ZevrinConfig(), nullptr, nullptr).GetType());
    Frame* const pFrame = pCamera->pQueue->BeginFill();
    std::copy(bytes.begin(), bytes.end(), pFrame->data);
    pFrame->info = info;
    pFrame->info.receivedSize = bytes.size();
    pCamera->pQueue->EndFill(pFrame);
    Image image;
    EXPECT_EQ(ERR_OK, iso.RetrieveBuffer(&image).GetType());
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

struct ReadPng {
    unsigned int width = 0;
    unsigned int height = 0;
    int bitDepth = 0;
    int colorType = 0;
    std::vector<unsigned char> bytes;  // 16-bit samples big-endian, rows without padding
};

ReadPng Read(const std::string& path) {
    ReadPng result;
    png_structp pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    std::FILE* const pStream = std::fopen(path.c_str(), "rb");
    if (pStream == nullptr || setjmp(png_jmpbuf(pPng)) != 0) {
        ADD_FAILURE() << path << " is no PNG file";
    } else {
        png_init_io(pPng, pStream);
        png_read_png(pPng, pInfo, PNG_TRANSFORM_IDENTITY, nullptr);
        result.width = png_get_image_width(pPng, pInfo);
        result.height = png_get_image_height(pPng, pInfo);
        result.bitDepth = png_get_bit_depth(pPng, pInfo);
        result.colorType = png_get_color_type(pPng, pInfo);
        png_bytepp rows = png_get_rows(pPng, pInfo);
        for (unsigned int row = 0; row < result.height; ++row) {
            result.bytes.insert(result.bytes.end(), rows[row], rows[row] + png_get_rowbytes(pPng, pInfo));
        }
    }
    if (pStream != nullptr) {
        std::fclose(pStream);
    }
    png_destroy_read_struct(&pPng, &pInfo, nullptr);
    return result;
}

struct FormatCase {
    const char* name;
    PixelFormat format;
    unsigned int stride;  // of rows of two pixels
    bool isBigEndian;
    std::vector<unsigned char> bytes;
    int bitDepth;
    int colorType;
    std::vector<unsigned char> written;
};

void PrintTo(const FormatCase& row, std::ostream* pStream) {
    *pStream << row.name;
}

class SaveImageFormat : public testing::TestWithParam<FormatCase> {};

TEST_P(SaveImageFormat, KeepsEverySample) {
    const FormatCase& row = GetParam();
    const TemporaryFolder folder;
    const std::string path = folder.Path("image.png");
    const Image image = MakeImage(MakeInfo(row.format, 2, 2, row.stride, row.isBigEndian), row.bytes);
    const Error error = SaveImage(image, path);
    ASSERT_EQ(ERR_OK, error.GetType()) << error.GetDescription();
    const ReadPng png = Read(path);
    EXPECT_EQ(2U, png.width);
    EXPECT_EQ(2U, png.height);
    EXPECT_EQ(row.bitDepth, png.bitDepth);
    EXPECT_EQ(row.colorType, png.colorType);
    EXPECT_EQ(row.written, png.bytes);
}

const FormatCase kFormatCases[] = {
    {"Mono8", PIXEL_FORMAT_MONO8, 2, true, {1, 2, 3, 4}, 8, PNG_COLOR_TYPE_GRAY, {1, 2, 3, 4}},
    // The padding of the last row need not be there.
    {"Raw8Padded", PIXEL_FORMAT_RAW8, 4, true, {1, 2, 9, 9, 3, 4}, 8, PNG_COLOR_TYPE_GRAY, {1, 2, 3, 4}},
    {"Mono16BigEndian",
     PIXEL_FORMAT_MONO16,
     4,
     true,
     {1, 2, 3, 4, 5, 6, 7, 8},
     16,
     PNG_COLOR_TYPE_GRAY,
     {1, 2, 3, 4, 5, 6, 7, 8}},
    {"Raw16LittleEndian",
     PIXEL_FORMAT_RAW16,
     4,
     false,
     {1, 2, 3, 4, 5, 6, 7, 8},
     16,
     PNG_COLOR_TYPE_GRAY,
     {2, 1, 4, 3, 6, 5, 8, 7}},
    {"Rgb8",
     PIXEL_FORMAT_RGB8,
     6,
     true,
     {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
     8,
     PNG_COLOR_TYPE_RGB,
     {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
    {"Bgr8",
     PIXEL_FORMAT_BGR8,
     6,
     true,
     {3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10},
     8,
     PNG_COLOR_TYPE_RGB,
     {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
};

INSTANTIATE_TEST_SUITE_P(Formats, SaveImageFormat, testing::ValuesIn(kFormatCases),
                         [](const auto& row) { return std::string(row.param.name); });

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST(SaveImage, RefusesWhatItCannotWrite) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("image.png");
    EXPECT_EQ(ERR_INVALID_PARAMETER, SaveImage(Image(), path).GetType());
    struct {
        const char* what;
        FrameInfo info;
        std::size_t size;
        ErrorType type;
    } const cases[] = {
        {"a format PNG lacks", MakeInfo(PIXEL_FORMAT_YUV422, 2, 2, 4), 8, ERR_NOT_SUPPORTED},
        {"a missing pixel", MakeInfo(PIXEL_FORMAT_MONO8, 2, 2, 2), 3, ERR_INVALID_PARAMETER},
        {"rows that overlap", MakeInfo(PIXEL_FORMAT_MONO16, 2, 2, 3), 8, ERR_INVALID_PARAMETER},
        {"no rows", MakeInfo(PIXEL_FORMAT_MONO8, 2, 0, 2), 8, ERR_INVALID_PARAMETER},
        {"no columns", MakeInfo(PIXEL_FORMAT_MONO8, 0, 2, 2), 8, ERR_INVALID_PARAMETER},
        {"sizes that wrap when multiplied",
         MakeInfo(PIXEL_FORMAT_MONO8, 0x80000000U, 0x80000000U, 0x80000000U), 8, ERR_INVALID_PARAMETER},
    };
    for (const auto& row : cases) {
        const Image image = MakeImage(row.info, std::vector<unsigned char>(row.size));
        EXPECT_EQ(row.type, SaveImage(image, path).GetType()) << row.what;
    }
    EXPECT_TRUE(NamesIn(folder.Path()).empty()) << "a refused image left a file";
}

TEST(SaveImage, ReplacesAFileAndLeavesNoOther) {
    const TemporaryFolder folder;
    const std::string path = folder.Path(std::string(251, 'n') + ".png");  // as long as names get
    std::ofstream(path) << "what was there before";
    const Image image = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), {77});
    ASSERT_EQ(ERR_OK, SaveImage(image, path).GetType());
    EXPECT_EQ(std::vector<unsigned char>{77}, Read(path).bytes);
    EXPECT_EQ(1U, NamesIn(folder.Path()).size());
}

TEST(SaveImage, NamesTheFileThatCannotBeWritten) {
    const TemporaryFolder folder;
    std::ofstream(folder.Path("file")) << "not a folder";
    std::filesystem::create_directory(folder.Path("folder"));
    const Image image = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), {77});
    for (const char* name : {"missing/image.png", "file/image.png", "folder"}) {
        const Error error = SaveImage(image, folder.Path(name));
        EXPECT_EQ(ERR_FILE_FAILED, error.GetType()) << name;
        EXPECT_NE(nullptr, std::strstr(error.GetDescription(), name)) << error.GetDescription();
    }
    EXPECT_EQ(2U, NamesIn(folder.Path()).size()) << "something was left behind";
}

/// A full disk, by a limit to what this process may write to one file.
TEST(SaveImage, LeavesTheOldFileWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const std::string path = folder.Path("image.png");
    ASSERT_EQ(ERR_OK, SaveImage(MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1, 1, 1), {77}), path).GetType());
    std::vector<unsigned char> noise(1U << 20);
    unsigned int state = 1;
    std::generate(noise.begin(), noise.end(), [&] {
        state = state * 1664525U + 1013904223U;
        return static_cast<unsigned char>(state >> 24);
    });
    const Image image = MakeImage(MakeInfo(PIXEL_FORMAT_MONO8, 1024, 1024, 1024), noise);

    rlimit before = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = before;
    limit.rlim_cur = 100 * 1000;
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
    const Error error = SaveImage(image, path);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(ERR_FILE_FAILED, error.GetType());
    EXPECT_NE(nullptr, std::strstr(error.GetDescription(), "File too large")) << error.GetDescription();
    EXPECT_EQ(std::vector<unsigned char>{77}, Read(path).bytes);
    EXPECT_EQ(1U, NamesIn(folder.Path()).size()) << "something was left behind";
}

}  // namespace
}  // namespace Zevrin
