#include "host/gloves/Ports.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>

namespace {

TEST(Ports, TooManyOpenFilesDoNotLeadToTheAdviceToReplug)
{
#ifdef TESSEL_SANITIZED
  GTEST_SKIP() << "a sanitizer opens files of its own";
#endif
  ::setenv("TESSEL_SERIAL_PORTS", "Bluegiga Bluetooth Low Energy (COM7)=/dev/null", 1);
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  rlimit none = before;
  none.rlim_cur = 0;
  ::setrlimit(RLIMIT_NOFILE, &none);
  const auto ports = listPorts();
  ::setrlimit(RLIMIT_NOFILE, &before);
  ASSERT_EQ(ports.size(), 1U);
  EXPECT_EQ(describe(ports[0]), "Too many open files");
  EXPECT_NE(adviceFor(ports[0]).find("files open"), std::string::npos) << adviceFor(ports[0]);
}

}  // namespace
