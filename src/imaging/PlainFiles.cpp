// The kinds of files that take no library: Netpbm, NumPy, raw.

#include <cerrno>
#include <cstddef>

#include "Failure.h"
#include "FormatText.h"
#include "ImageWriters.h"
#include "PixelRows.h"
#include "WholeFile.h"

namespace Zevrin {

namespace {

constexpr std::size_t kArrayAlignment = 64;

std::string HeaderOf(const Picture& picture, const char* magic) {
    const PixelView& pixels = picture.pixels;
    std::string header = std::string(magic) + "\n";
    for (const auto& fact : ListFacts(picture.facts)) {
        header += "# " + fact.first + ": " + fact.second + "\n";
    }
    const unsigned int maximum = (1U << picture.significantBits) - 1;
    return header + FormatText("%u %u\n%u\n", pixels.width, pixels.height, maximum);
}

/// "|u1": of one byte, which has no order; "<u2": of two, the lowest first.
std::string ArrayHeaderOf(const PixelView& pixels) {
    const RowLayout& layout = *FindRowLayout(pixels.pixelFormat);
    const char* const type = layout.bits == 8 ? "|u1" : pixels.isBigEndian ? ">u2" : "<u2";
    const std::string shape =
        FormatText(layout.channels == 3 ? "(%u, %u, 3)" : "(%u, %u)", pixels.height, pixels.width);
    std::string text =
        FormatText("{'descr': '%s', 'fortran_order': False, 'shape': %s, }", type, shape.c_str());
    const std::string magic("\x93NUMPY\x01\x00", 8);
    const std::size_t used = magic.size() + 2 + text.size() + 1;
    text.append((kArrayAlignment - used % kArrayAlignment) % kArrayAlignment, ' ');
    text += '\n';
    const auto length = static_cast<unsigned int>(text.size());
    return magic + static_cast<char>(length & 0xFF) + static_cast<char>(length >> 8) + text;
}

Error WriteRows(const PixelView& pixels, WholeFile* pFile) {
    const std::size_t rowSize = FindRowLayout(pixels.pixelFormat)->RowSize(pixels.width);
    Error error;
    for (std::size_t row = 0; row < pixels.height && error == ERR_OK; ++row) {
        error = pFile->Write(pixels.data + row * pixels.stride, rowSize);
    }
    return error;
}

Error WriteHeaderAndRows(const std::string& header, const PixelView& pixels, WholeFile* pFile) {
    Error error = pFile->Open();
    if (error == ERR_OK) {
        error = pFile->Write(header.data(), header.size());
    }
    return error == ERR_OK ? WriteRows(pixels, pFile) : error;
}

Error WriteNetpbm(const Picture& picture, const char* magic, const std::string& path) {
    WholeFile file(path);
    const Error error = WriteHeaderAndRows(HeaderOf(picture, magic), picture.pixels, &file);
    return error == ERR_OK ? file.Finish() : error;
}

/// The picture has been written and waits for its name. The facts get theirs first, so that a picture that is
/// there has them.
Error FinishWithFacts(const PictureFacts& facts, const std::string& path, WholeFile* pPicture) {
    const std::string text = facts.dump(4) + "\n";
    WholeFile sidecar(path + ".json");
    Error error = sidecar.Open();
    if (error == ERR_OK) {
        error = sidecar.Write(text.data(), text.size());
    }
    if (error == ERR_OK) {
        error = sidecar.Close();
    }
    if (error == ERR_OK) {
        error = pPicture->Close();
    }
    if (error == ERR_OK) {
        error = sidecar.Finish();
    }
    return error == ERR_OK ? pPicture->Finish() : error;
}

}  // namespace

Error WritePgmFile(const Picture& picture, const std::string& path) {
    if (FindRowLayout(picture.pixels.pixelFormat)->channels != 1) {
        return Failure(ERR_NOT_SUPPORTED, "PGM files hold grey images; a colour image goes into a PPM file.");
    }
    return WriteNetpbm(picture, "P5", path);
}

Error WritePpmFile(const Picture& picture, const std::string& path) {
    if (FindRowLayout(picture.pixels.pixelFormat)->channels != 3) {
        return Failure(ERR_NOT_SUPPORTED,
                       "PPM files hold colour images; a grey image or a raw mosaic goes into a PGM file.");
    }
    return WriteNetpbm(picture, "P6", path);
}

Error WriteArrayFile(const Picture& picture, const std::string& path) {
    WholeFile file(path);
    const Error error = WriteHeaderAndRows(ArrayHeaderOf(picture.pixels), picture.pixels, &file);
    return error == ERR_OK ? FinishWithFacts(picture.facts, path, &file) : error;
}

Error WriteRawFile(const Picture& picture, const std::string& path) {
    const PixelView& pixels = picture.pixels;
    WholeFile file(path);
    Error error = file.Open();
    if (error == ERR_OK) {
        error = file.Write(pixels.data, pixels.size);
    }
    if (error != ERR_OK) {
        return error;
    }
    PictureFacts facts = picture.facts;
    facts["size"] = pixels.size;
    facts["stride"] = pixels.stride;
    facts["bigEndian"] = pixels.isBigEndian;
    return FinishWithFacts(facts, path, &file);
}

}  // namespace Zevrin
