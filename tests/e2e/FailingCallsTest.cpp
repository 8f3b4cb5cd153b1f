// Each system call of a command fails once, with each error that it can have, or moves only half of its
// bytes: the command repeats the call, or ends with a message and an exit code, and leaves nothing incomplete
// behind. With TESSEL_FAILING_CALLS=all all calls have all errors, with the name of a call
// all of these, otherwise most have one.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <map>

#include "tests/e2e/Tessel.h"
#include "tests/support/FailingCall.h"

namespace fs = std::filesystem;

namespace {

// Closing does not fail when interrupted.
const std::vector<CallErrors> errorsOf{
    {"open", {EINTR, ENOMEM, ENOSPC, EMFILE, EIO}},
    {"read", {EINTR, shortCount, EIO}},
    {"write", {EINTR, shortCount, ENOSPC, EIO, EAGAIN}},
    {"close", {EINTR, EIO, ENOSPC}},
    {"fsync", {EINTR, EIO, ENOSPC}},
    {"truncate", {EINTR, EIO}},
    {"seek", {EIO}},
    {"flock", {EINTR, ENOMEM}},
    {"ioctl", {EINTR, EIO}},
    {"list", {EIO}},
    {"stat", {EIO, ENOMEM}},
    {"readlink", {EIO, ENOMEM}},
    {"rename", {ENOSPC, EIO, ENOMEM}},
    {"mkdir", {ENOSPC, EIO, ENOMEM}},
    {"mkfifo", {ENOSPC, EIO, ENOMEM}},
    {"unlink", {EIO, ENOMEM}},
    {"link", {ENOSPC, EIO}},
    {"chmod", {EIO}},
    {"poll", {EINTR, ENOMEM}},
    {"eventfd", {EMFILE, ENOMEM}},
    {"pipe", {EMFILE}},
};

using Files = std::map<std::string, std::string>;  // names and contents

// Of what differs each time only what must not.
std::string comparable(const std::string& name, const std::string& content)
{
  if (content.empty() || name.find(".csv") == std::string::npos) return "";
  return content.back() == '\n' ? std::to_string(std::ranges::count(content, '\n')) + " lines"
                                : "a part of a line";
}

Files filesIn(const TemporaryFolder& folder, bool isTimed)
{
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
    const std::string name = entry.path().lexically_relative(folder.path());
    if (isTimed && name.starts_with("log")) continue;  // named by date and time
    const std::string content = entry.is_regular_file() ? folder.read(name) : "(no file)";
    files[name] = isTimed ? comparable(name, content) : content;
  }
  return files;
}

struct Outcome {
  WatchedRun run;
  int exitCode = 0;
  std::string messages;
  Files files;  // with standard output, without the messages
};

struct Command {
  const char* name;
  std::vector<std::string> arguments;
  bool isTimed = false;  // it takes its time, and what it writes differs each time

  friend void PrintTo(const Command& command, std::ostream* stream) { *stream << command.name; }
};

class FailingCalls : public testing::TestWithParam<Command> {
 protected:
  static void SetUpTestSuite()
  {
    inputs = new TemporaryFolder;
    const auto run = [](std::vector<std::string> arguments) {
      const Tessel::Result result = runTessel(*inputs, std::move(arguments));
      ASSERT_EQ(result.exitCode, 0) << result.messages;
    };
    inputs->write("events.txt", "300 lose 0\n600 find 0\n");
    run({"record", "--sim", "--frames", "2", "--output", "in.csv", "--capture", "in.pcapng"});
    run({"convert", "in.csv", "in.npy"});
    run({"convert", "in.csv", "in.xdf"});
    run({"convert", "in.csv", "old.csv"});
    run({"convert", "in.csv", "old.npy"});
    run({"plot", "in.csv"});
    run({"settings", "in.txt", "--write"});
    run({"layout", "in-layout.json", "--write"});
    fs::create_directory(inputs->path() / "tmp");
    for (const char* name : {"stdout", "stderr"}) {
      fs::remove(inputs->path() / name);
    }
  }
  static void TearDownTestSuite() { delete inputs; }

  static Outcome run(const CallFault& fault)
  {
    const TemporaryFolder folder;
    fs::copy(inputs->path(), folder.path(), fs::copy_options::recursive);
    const auto prepare = [&] {
      if (::chdir(folder.path().c_str()) != 0) ::_exit(126);
      ::setenv("TMPDIR", (folder / "tmp").c_str(), 1);
      ::dup2(::open("stdout", O_WRONLY | O_APPEND | O_CREAT, 0600), STDOUT_FILENO);
      ::dup2(::open("stderr", O_WRONLY | O_APPEND | O_CREAT, 0600), STDERR_FILENO);
      ::closefrom(3);
    };
    std::vector<std::string> command = GetParam().arguments;
    command.insert(command.begin(), TESSEL_PROGRAM);
    // The rest is the installation: the program's libraries, fonts and character sets.
    const auto isOfInterest = [&](const std::string& path) {
      return path.starts_with(folder.path().string());
    };
    Outcome outcome;
    outcome.run = watchProgram(command, fault, isOfInterest, prepare);
    const int status = outcome.run.status;
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.messages = folder.read("stderr");
    outcome.files = filesIn(folder, GetParam().isTimed);
    outcome.files.erase("stderr");
    if (outcome.run.failed.starts_with(folder.path().string()))
      outcome.run.failed.erase(0, folder.path().string().size() + 1);
    return outcome;
  }

  // What is wrong with it, one to a line.
  static std::string problems(const Outcome& outcome, const Outcome& undisturbed, const Files& before,
                              int error)
  {
    std::string text;
    // The C library does not repeat what interrupts its streams; no signal does that to this program.
    const bool isStream = outcome.run.failed == "stdout" || outcome.run.failed == "stderr";
    const bool isRepeatable = (error == EINTR && !isStream) || error == shortCount;
    const bool isMessage = outcome.run.failed == "stderr";
    if (outcome.run.hasHung) return "hangs\n";
    if (outcome.exitCode > 100) return "ends by a signal\n";
    for (const std::string& leak : outcome.run.leaks) {
      text += "leaves open " + leak + "\n";
    }
    if (isRepeatable && outcome.exitCode != 0) text += "does not repeat the call\n";
    if (outcome.exitCode == 0) {
      Files files = outcome.files;
      std::erase_if(files, [&](const auto& file) {
        // A list of events without events is the same as none.
        const bool isNone = std::ranges::count(file.second, '\n') == 1 && file.first.ends_with("events.csv");
        return !undisturbed.files.contains(file.first) &&
               (isNone || outcome.messages.find(file.first) != std::string::npos);
      });
      if (files != undisturbed.files) text += "succeeds with another result\n";
      return text;
    }
    if (outcome.exitCode == 1 && error != ENOMEM) text += "has no exit code for it\n";
    const bool isTwoLines = std::ranges::count(outcome.messages, '\n') >= 2;
    if (!isMessage && (outcome.messages.find("tessel: ") == std::string::npos || !isTwoLines))
      text += "does not say what happened and what to do\n";
    for (const auto& [name, content] : outcome.files) {
      const auto old = before.find(name);
      const auto complete = undisturbed.files.find(name);
      const bool isOld = old != before.end() && old->second == content;
      const bool isComplete = complete != undisturbed.files.end() && complete->second == content;
      // A recording is announced by the name of its records.
      const bool isAnnounced = outcome.messages.find(name.substr(0, name.find('.') + 1)) != std::string::npos;
      if (content == "a part of a line") text += "leaves a part of a line in " + name + "\n";
      if (!isOld && !isComplete && !isAnnounced && name != "stdout") text += "leaves " + name + "\n";
    }
    for (const auto& [name, content] : before) {
      if (!outcome.files.contains(name) && !isReplacedBy(name, outcome, undisturbed))
        text += "has lost " + name + "\n";
    }
    return text;
  }

  // Whether the new content is complete, under the name that it had while it grew.
  static bool isReplacedBy(const std::string& name, const Outcome& outcome, const Outcome& undisturbed)
  {
    const auto slash = name.find('/');
    const std::string growing =
        name.substr(0, slash) + ".part" + (slash == name.npos ? "" : name.substr(slash));
    const auto found = outcome.files.find(growing);
    const auto complete = undisturbed.files.find(name);
    // The old one may have had files more.
    if (complete == undisturbed.files.end())
      return outcome.files.contains(growing.substr(0, growing.find('/')));
    return found != outcome.files.end() && found->second == complete->second;
  }

  static TemporaryFolder* inputs;
};

TemporaryFolder* FailingCalls::inputs = nullptr;

TEST_P(FailingCalls, AreRepeatedOrReported)
{
  const char* const mode = std::getenv("TESSEL_FAILING_CALLS");
  const Outcome undisturbed = run({});
  ASSERT_EQ(undisturbed.exitCode, 0) << undisturbed.messages;
  EXPECT_TRUE(undisturbed.run.leaks.empty()) << undisturbed.run.leaks.front();
  const Files before = filesIn(*inputs, GetParam().isTimed);
  unsigned calls = 0;
  unsigned runs = 0;
  for (const auto& [call, errors] : errorsOf) {
    const bool isAll = mode != nullptr && (mode == std::string("all") || mode == std::string(call));
    if (mode != nullptr && !isAll) continue;
    const unsigned last = GetParam().isTimed && !isAll ? 1 : ~0U;
    for (unsigned number = 1, isOver = 0; isOver == 0 && number <= last; ++number) {
      // Of many calls of a kind the later ones are alike.
      if (!isAll && number > 12 && number % 4 != 0) continue;
      for (std::size_t each = 0; each < errors.size(); ++each) {
        if (!isAll && each != number % errors.size()) continue;
        const Outcome outcome = run({.call = call, .number = number, .error = errors[each]});
        isOver = outcome.run.failed.empty() ? 1 : 0;
        if (isOver) break;
        ++runs;
        EXPECT_EQ(problems(outcome, undisturbed, before, errors[each]), "")
            << "when " << call << " " << number << " (" << outcome.run.failed << ") has "
            << nameOf(errors[each]) << ", exit code " << outcome.exitCode << ":\n"
            << outcome.messages;
      }
      calls += 1 - isOver;
    }
  }
  std::cout << GetParam().name << ": " << calls << " calls, " << runs << " runs\n";
}

INSTANTIATE_TEST_SUITE_P(
    Of, FailingCalls,
    testing::Values(Command{"ConvertCsvToNpy", {"convert", "in.csv", "out.npy"}},
                    Command{"ConvertNpyToXdf", {"convert", "in.npy", "out.xdf"}},
                    Command{"ConvertXdfToCsv", {"convert", "in.xdf", "out.csv"}},
                    Command{"ConvertToTable", {"convert", "in.npy", "out.csv", "--format", "tidy"}},
                    Command{"ReplaceCsv", {"convert", "in.xdf", "old.csv", "--force"}},
                    Command{"ReplaceNpy", {"convert", "in.xdf", "old.npy", "--force"}},
                    Command{"ConvertToStandardOutput", {"convert", "in.csv", "-"}},
                    Command{"Plot", {"plot", "in.csv", "--output", "out.svg"}},
                    Command{"PlotAgain", {"plot", "in.csv"}},
                    Command{"Settings", {"settings", "in.txt", "--json"}},
                    Command{"WriteSettings", {"settings", "out.txt", "--write"}},
                    Command{"Layout", {"layout", "in-layout.json"}},
                    Command{"WriteLayout", {"layout", "out.json", "--write"}},
                    Command{"Trace", {"trace", "in.pcapng"}},
                    Command{"TraceFrames", {"trace", "in.pcapng", "--frames", "--json"}},
                    Command{"Record",
                            {"record", "--sim", "--frames", "3", "--output", "out.csv", "--capture",
                             "out.pcapng", "--markers", "markers", "--log", "log"},
                            true}),
    [](const auto& each) { return each.param.name; });

}  // namespace
