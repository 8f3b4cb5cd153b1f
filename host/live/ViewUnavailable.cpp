#include "host/base/Failure.h"
#include "host/live/LiveServer.h"

struct LiveServer::Service {};

LiveServer::LiveServer(const ServerOptions& /*options*/, LiveSource& /*source*/, MarkerQueue* /*markers*/)
{
  throw Failure(
      ExitCode::output, "this build of tessel has no page: it was made without " TESSEL_VIEW_MISSING ".",
      "Install a package of tessel, or build it again with what is missing: see \"Build\" in README.md.");
}

LiveServer::~LiveServer() = default;
