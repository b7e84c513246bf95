#include "ReadPicture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#ifdef ZEVRIN_WITH_PNG
#include <png.h>
#endif
#ifdef ZEVRIN_WITH_TIFF
#include <tiffio.h>
#endif

namespace Zevrin {
namespace {

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
    for (; maximum >> picture.bits != 0;) {
        ++picture.bits;
    }
    AddSamples(std::string(std::istreambuf_iterator<char>(stream), {}), true, &picture);
    return picture;
}

ReadPicture ReadArray(const std::string& path) {
    static const std::regex kHeader(
        R"(\{'descr': '([<>|])u([12])', 'fortran_order': False, 'shape': \((\d+), (\d+)(, 3)?\), \} *\n)");
    ReadPicture picture;
    const std::string bytes = ReadAll(path);
    EXPECT_EQ(std::string("\x93NUMPY\x01\x00", 8), bytes.substr(0, 8));
    const std::size_t length =
        static_cast<unsigned char>(bytes.at(8)) + 256U * static_cast<unsigned char>(bytes.at(9));
    EXPECT_EQ(0U, (10 + length) % 64);
    const std::string header = bytes.substr(10, length);
    std::smatch match;
    if (!std::regex_match(header, match, kHeader)) {
        ADD_FAILURE() << header;
        return picture;
    }
    picture.bits = match[2] == "1" ? 8 : 16;
    picture.height = static_cast<unsigned int>(std::stoul(match[3]));
    picture.width = static_cast<unsigned int>(std::stoul(match[4]));
    picture.channels = match[5].matched ? 3 : 1;
    AddSamples(bytes.substr(10 + length), match[1] == ">", &picture);
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

ReadPicture ReadPng([[maybe_unused]] const std::string& path) {
    ReadPicture picture;
#ifdef ZEVRIN_WITH_PNG
    png_structp pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    std::FILE* const pStream = std::fopen(path.c_str(), "rb");
    if (pStream == nullptr || setjmp(png_jmpbuf(pPng)) != 0) {
        ADD_FAILURE() << path << " is no PNG file";
    } else {
        png_init_io(pPng, pStream);
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
    }
    if (pStream != nullptr) {
        std::fclose(pStream);
    }
    png_destroy_read_struct(&pPng, &pInfo, nullptr);
#endif
    return picture;
}

ReadPicture ReadTiff([[maybe_unused]] const std::string& path) {
    ReadPicture picture;
#ifdef ZEVRIN_WITH_TIFF
    TIFF* const pTiff = TIFFOpen(path.c_str(), "r");
    if (pTiff == nullptr) {
        ADD_FAILURE() << path << " is no TIFF file";
        return picture;
    }
    unsigned short channels = 0;
    unsigned short bits = 0;
    const char* text = "{}";
    TIFFGetField(pTiff, TIFFTAG_IMAGEWIDTH, &picture.width);
    TIFFGetField(pTiff, TIFFTAG_IMAGELENGTH, &picture.height);
    TIFFGetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetField(pTiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(pTiff, TIFFTAG_IMAGEDESCRIPTION, &text);
    picture.channels = channels;
    picture.bits = bits;
    AddFacts(text, &picture);
    std::string bytes;
    std::string row(static_cast<std::size_t>(TIFFScanlineSize(pTiff)), '\0');
    for (unsigned int index = 0; index < picture.height; ++index) {
        EXPECT_EQ(1, TIFFReadScanline(pTiff, row.data(), index));
        bytes += row;
    }
    AddSamples(bytes, __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__, &picture);
    for (const auto& tag : {std::make_pair(TIFFTAG_DATETIME, "DateTime"),
                            std::make_pair(TIFFTAG_CAMERASERIALNUMBER, "CameraSerialNumber")}) {
        if (TIFFGetField(pTiff, static_cast<unsigned int>(tag.first), &text) == 1) {
            picture.facts[tag.second] = text;
        }
    }
    TIFFClose(pTiff);
#endif
    return picture;
}

}  // namespace

ReadPicture ReadPictureFile(const std::string& path) {
    const std::string suffix = path.substr(path.rfind('.'));
    return suffix == ".png"   ? ReadPng(path)
           : suffix == ".tif" ? ReadTiff(path)
           : suffix == ".npy" ? ReadArray(path)
           : suffix == ".raw" ? ReadRaw(path)
                              : ReadNetpbm(path);
}

}  // namespace Zevrin
