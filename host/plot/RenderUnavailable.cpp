#include "host/base/Failure.h"
#include "host/plot/Render.h"

namespace {

[[noreturn]] void fail()
{
  throw Failure(ExitCode::output, "this build of tessel can't write PNG or PDF: it has no librsvg.",
                "Write SVG and convert it, for example with Inkscape or `rsvg-convert`.");
}

}  // namespace

std::string renderPng(const std::string& /*svg*/, double /*dpi*/)
{
  fail();
}

std::string renderPdf(const std::string& /*svg*/)
{
  fail();
}
