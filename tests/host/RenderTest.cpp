#include "host/plot/Render.h"

#include <gtest/gtest.h>

#include "host/base/Failure.h"

// The leak sanitizer asks for it: the library for fonts keeps its configuration until the end of the process.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions()
{
  return "leak:libfontconfig";
}

namespace {

using namespace std::string_literals;

const std::string svg =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="96" height="48"><text y="20">a</text></svg>)";

TEST(Render, WritesPngInTheSizeAndResolutionThatWereAskedFor)
{
  const std::string png = renderPng(svg, 192);
  EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1A\n");
  EXPECT_EQ(png.substr(12, 12), "IHDR\0\0\0\xC0\0\0\0\x60"s);
  // 7559 pixels per metre, and a checksum by another program.
  EXPECT_EQ(png.substr(33, 21),
            "\0\0\0\x09pHYs\0\0\x1D\x87\0\0\x1D\x87\x01"
            "\x8F\xE5\xF1\x65"s);
  EXPECT_THROW(renderPng(svg, 96 * 1000), Failure);
}

TEST(Render, WritesPdfInTheSizeThatIsPrinted)
{
  const std::string pdf = renderPdf(svg);
  EXPECT_EQ(pdf.substr(0, 5), "%PDF-");
  EXPECT_NE(pdf.find("/MediaBox [ 0 0 72 36 ]"), std::string::npos);
  EXPECT_NE(pdf.find("/FontFile"), std::string::npos) << "text is text, in a font of its own";
}

}  // namespace
