#include "host/base/Failure.h"
#include "host/live/LiveServer.h"

struct LiveServer::Service {};

LiveServer::LiveServer(const ServerOptions& /*options*/, LiveSource& /*source*/, MarkerQueue* /*markers*/)
{
  throw Failure(
      ExitCode::output,
      "this build of tessel has no page: " TESSEL_VIEW_MISSING " was missing when it was built.",
      "Install a package of tessel, or build it again with what is missing: see \"Build\" in README.md.");
}

LiveServer::~LiveServer() = default;
