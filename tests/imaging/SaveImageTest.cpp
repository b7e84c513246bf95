#include "zevrin/ImageFile.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#ifdef ZEVRIN_WITH_PNG
#include <png.h>
#endif
#ifdef ZEVRIN_WITH_TIFF
#include <tiffio.h>
#endif

#include "FrameQueue.h"
#include "Image.h"
#include "Iso.h"
#include "components/FakeHardware.h"
#include "support/Checks.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {
namespace {

using namespace std::string_literals;

/// What a file holds, as readers see it that know nothing of the writers.
struct ReadPicture {
    unsigned int width = 0;
    unsigned int height = 0;
    unsigned int channels = 0;
    unsigned int bits = 0;  ///< of a sample
    std::vector<unsigned int> samples;
    std::map<std::string, std::string> facts;  ///< found in the file or beside it
};

std::string ReadAll(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream.is_open()) << path;
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

void AddFacts(const std::string& json, ReadPicture* pPicture) {
    const nlohmann::json document = nlohmann::json::parse(json);
    for (const auto& fact : document.items()) {
        const auto& value = fact.value();
        pPicture->facts[fact.key()] = value.is_string() ? value.get<std::string>() : value.dump();
    }
}

void AddSamples(const std::string& bytes, bool isBigEndian, ReadPicture* pPicture) {
    const std::size_t size = pPicture->bits > 8 ? 2 : 1;
    EXPECT_EQ(size * pPicture->width * pPicture->height * pPicture->channels, bytes.size());
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
        const unsigned int first = static_cast<unsigned char>(bytes[at]);
        const unsigned int second = static_cast<unsigned char>(bytes[at + size - 1]);
        pPicture->samples.push_back(size == 1     ? first
                                    : isBigEndian ? first << 8 | second
                                                  : second << 8 | first);
    }
}

ReadPicture ReadNetpbm(const std::string& path) {
    ReadPicture picture;
    std::istringstream stream(ReadAll(path));
    std::string line;
    std::getline(stream, line);
    picture.channels = line == "P6" ? 3 : line == "P5" ? 1 : 0;
    while (stream.peek() == '#' && std::getline(stream, line)) {
        const std::size_t colon = line.find(": ");
        picture.facts[line.substr(2, colon - 2)] = line.substr(colon + 2);
    }
    unsigned int maximum = 0;
    stream >> picture.width >> picture.height >> maximum;
    stream.get();
    picture.bits = maximum == 255 ? 8 : maximum == 4095 ? 12 : 0;
    AddSamples(std::string(std::istreambuf_iterator<char>(stream), {}), true, &picture);
    return picture;
}

ReadPicture ReadArray(const std::string& path) {
    static const std::regex kFile(
        "\x93NUMPY\x01[^]([^])([^])"
        R"(\{'descr': '([<>|])u([12])', 'fortran_order': False, 'shape': \((\d+), (\d+)(, 3)?\), \} *\n)");
    ReadPicture picture;
    const std::string bytes = ReadAll(path);
    std::smatch match;
    if (!std::regex_search(bytes, match, kFile, std::regex_constants::match_continuous)) {
        ADD_FAILURE() << path << " begins with " << bytes.substr(0, 128);
        return picture;
    }
    const auto length = static_cast<std::size_t>(match.length(0));
    const auto byte = [&](int group) { return static_cast<unsigned char>(*match[group].first); };
    EXPECT_EQ(length, 10U + byte(1) + 256U * byte(2));
    EXPECT_EQ(0U, length % 64);
    picture.bits = match[4] == "1" ? 8 : 16;
    picture.height = static_cast<unsigned int>(std::stoul(match[5]));
    picture.width = static_cast<unsigned int>(std::stoul(match[6]));
    picture.channels = match[7].matched ? 3 : 1;
    AddSamples(bytes.substr(length), match[3] == ">", &picture);
    AddFacts(ReadAll(path + ".json"), &picture);
    return picture;
}

/// Of one byte a sample, without padding.
ReadPicture ReadRaw(const std::string& path) {
    ReadPicture picture;
    AddFacts(ReadAll(path + ".json"), &picture);
    picture.width = static_cast<unsigned int>(std::stoul(picture.facts["stride"]));
    picture.height = static_cast<unsigned int>(std::stoul(picture.facts["height"]));
    picture.channels = 1;
    picture.bits = 8;
    AddSamples(ReadAll(path), false, &picture);
    return picture;
}

/// A file that is none ends the process: libpng says why.
ReadPicture ReadPng([[maybe_unused]] const std::string& path) {
    ReadPicture picture;
#ifdef ZEVRIN_WITH_PNG
    png_structp pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    std::string file = ReadAll(path);
    const auto read = [](png_structp pReader, png_bytep out, std::size_t size) {
        auto* const pRest = static_cast<std::string*>(png_get_io_ptr(pReader));
        pRest->copy(reinterpret_cast<char*>(out), size);
        pRest->erase(0, size);
    };
    png_set_read_fn(pPng, &file, read);
    png_read_png(pPng, pInfo, PNG_TRANSFORM_IDENTITY, nullptr);
    picture.width = png_get_image_width(pPng, pInfo);
    picture.height = png_get_image_height(pPng, pInfo);
    picture.bits = png_get_bit_depth(pPng, pInfo);
    picture.channels = png_get_channels(pPng, pInfo);
    std::string bytes;
    for (unsigned int row = 0; row < picture.height; ++row) {
        bytes.append(reinterpret_cast<const char*>(png_get_rows(pPng, pInfo)[row]),
                     png_get_rowbytes(pPng, pInfo));
    }
    AddSamples(bytes, true, &picture);
    png_textp texts = nullptr;
    for (int index = png_get_text(pPng, pInfo, &texts, nullptr); index-- > 0;) {
        picture.facts[texts[index].key] = texts[index].text;
    }
    png_color_8p pSignificant = nullptr;
    if (png_get_sBIT(pPng, pInfo, &pSignificant) != 0) {
        picture.facts["sBIT"] = std::to_string(pSignificant->gray);
    }
    png_destroy_read_struct(&pPng, &pInfo, nullptr);
#endif
    return picture;
}

ReadPicture ReadTiff([[maybe_unused]] const std::string& path) {
    ReadPicture picture;
#ifdef ZEVRIN_WITH_TIFF
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> pTiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    if (!pTiff) {
        ADD_FAILURE() << path << " is no TIFF file";
        return picture;
    }
    unsigned short channels = 0;
    unsigned short bits = 0;
    const char* text = "{}";
    TIFFGetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, &picture.width);
    TIFFGetField(pTiff.get(), TIFFTAG_IMAGELENGTH, &picture.height);
    TIFFGetField(pTiff.get(), TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetField(pTiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(pTiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text);
    picture.channels = channels;
    picture.bits = bits;
    AddFacts(text, &picture);
    if (TIFFGetField(pTiff.get(), TIFFTAG_DATETIME, &text) == 1) {
        picture.facts["DateTime"] = text;
    }
    if (TIFFGetField(pTiff.get(), TIFFTAG_CAMERASERIALNUMBER, &text) == 1) {
        picture.facts["CameraSerialNumber"] = text;
    }
    const auto rowSize = static_cast<std::size_t>(TIFFScanlineSize(pTiff.get()));
    std::string bytes(picture.height * rowSize, '\0');
    for (unsigned int row = 0; row < picture.height; ++row) {
        EXPECT_EQ(1, TIFFReadScanline(pTiff.get(), &bytes[row * rowSize], row));
    }
    AddSamples(bytes, __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__, &picture);
#endif
    return picture;
}

ReadPicture ReadPictureFile(const std::string& path) {
    const std::string suffix = path.substr(path.rfind('.'));
    return suffix == ".png"   ? ReadPng(path)
           : suffix == ".tif" ? ReadTiff(path)
           : suffix == ".npy" ? ReadArray(path)
           : suffix == ".raw" ? ReadRaw(path)
                              : ReadNetpbm(path);
}

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
        std::map<std::string, std::string> facts = row.facts;
        std::istringstream stream(
            "serialNumber 1001 frameId 77 time 2026-11-23T08:15:00.000250Z cycleSeconds 100 cycleCount 7999 "
            "cycleOffset 3071 exposureSeconds 0.005 gainDb 6.5 bayerTile GBRG width 2 height 2");
        for (std::string key, value; stream >> key >> value;) {
            facts[key] = value;
        }
        facts["pixelFormat"] = GetPixelFormatName(row.format);
        if (std::string(row.suffix) == ".tif") {
            facts.insert({{"DateTime", "2026:11:23 08:15:00"}, {"CameraSerialNumber", "1001"}});
        }
        EXPECT_EQ(facts, picture.facts);
    }
}

auto CountFilesIn(const TemporaryFolder& folder) {
    return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
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
    EXPECT_EQ(2, CountFilesIn(folder)) << "something was left behind";
}

TEST(SaveImage, ReplacesAFileAndLeavesNoOther) {
    const TemporaryFolder folder;
    const std::string path = folder.Path(std::string(251, 'n') + ".PGM");  // as long as names get
    std::ofstream(path) << "what was there before";
    const unsigned char pixel = 77;
    ASSERT_EQ(ERR_OK, SavePixels({&pixel, 1, 1, 1, 1, PIXEL_FORMAT_MONO8}, path).GetType());
    EXPECT_EQ(std::vector<unsigned int>{77}, ReadPictureFile(path).samples);
    EXPECT_EQ(1, CountFilesIn(folder));
}

}  // namespace
}  // namespace Zevrin
