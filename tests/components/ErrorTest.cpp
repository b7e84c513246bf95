#include <gtest/gtest.h>

#include <string>

#include "Failure.h"
#include "FormatText.h"
#include "InternalError.h"
#include "zevrin/Error.h"

namespace Zevrin {
namespace {

TEST(ErrorTest, CarriesTypeTextPlaceAndCause) {
    const Error cause =
        InternalError(7, "src/deep/Part.cpp", "Oct 15 2018", "22:23:22", ERR_TIMEOUT, "%d ms", 5);
    const Error error = InternalError(8, "CameraInternal.cpp", "Nov  1 2020", "01:02:03", ERR_ISOCH_FAILED,
                                      InternalError(cause), "no %s", "image");
    EXPECT_NE(error, ERR_TIMEOUT);
    EXPECT_STREQ(error.GetBuildDate(), "Nov  1 2020");
    EXPECT_STREQ(error.GetBuildTime(), "01:02:03");
    EXPECT_EQ(error.GetCause().GetCause(), ERR_OK);
    EXPECT_EQ(error.GetTrace(),
              "no image (ERR_ISOCH_FAILED, CameraInternal.cpp:8)\n  because 5 ms (ERR_TIMEOUT, Part.cpp:7)");
    const std::string text(5000, 'x');
    const Error whole = InternalError(1, "a.cpp", "", "", ERR_FAILED, "<%s>", text.c_str());
    EXPECT_EQ(whole.GetDescription(), "<" + text + ">");
}

TEST(ErrorTest, BareErrorsHaveTheTextOfTheirType) {
    const Error success = InternalError(ERR_OK);
    EXPECT_EQ(success, ERR_OK);
    EXPECT_EQ(success.GetCause(), ERR_OK);
    const Error lost = InternalError(ERR_CAMERA_LOST);
    EXPECT_STREQ(lost.GetDescription(), GetErrorTypeText(ERR_CAMERA_LOST));
    EXPECT_STREQ(GetErrorTypeName(static_cast<ErrorType>(12345)), "ERR_UNKNOWN");
    EXPECT_STREQ(GetErrorTypeName(static_cast<ErrorType>(-1)), "ERR_UNKNOWN");
}

TEST(ErrorTest, NoPerCentSignLeavesTheComponents) {
    const Error error = Failure(ERR_FAILED, "model %s at 100%%", "%n%s");
    EXPECT_STREQ(error.GetDescription(), "model \\x25n\\x25s at 100\\x25");
    EXPECT_STREQ(FailureBecause(ERR_FAILED, error, "%s", "50%").GetDescription(), "50\\x25");
    EXPECT_STREQ(error.GetSourceFile(), "ErrorTest.cpp");
    EXPECT_GT(error.GetSourceLine(), 0);
}

TEST(PrintableTest, KeepsOnlyWhatCanDoNoHarm) {
    EXPECT_EQ(Printable(std::string("a\0b\nc\x1b[31m%s\\\xC3\xA9 (d)", 19)),
              "a\\x00b\\x0ac\\x1b[31m\\x25s\\x5c\\xc3\\xa9 (d)");
    EXPECT_EQ(Printable("0123456789", 10), "0123456789");
    EXPECT_EQ(Printable("0123456789A", 10), "0123456...");
    EXPECT_LE(Printable(std::string(1000, '\n'), 63).size(), 63U);
}

}  // namespace
}  // namespace Zevrin
