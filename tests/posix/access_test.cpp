/// Who may do what with the files of the layer: the owner alone, but for the pipes and mutexes
/// whose descriptors admit others; whatever the umask is, and whatever others do to what they may
/// write.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "common/test_thread.h"
#include "common/victim.h"
#include "platform/debug_listener.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/windows_api.h"
#include "support/security_dacl.h"

namespace {

namespace fs = std::filesystem;

constexpr int kRefusedRoot = 78;
constexpr const char* kAsAnotherUser = "setpriv --reuid=65534 --regid=65534 --clear-groups ";

/// A copy of this program where every user reaches it, which the folder of the build may not be.
std::string ProgramForEveryone() {
  const fs::path program = fs::read_symlink("/proc/self/exe");
  const fs::path folder = platform::StateRootPath() + "/program";
  fs::create_directory(folder);
  fs::permissions(folder, fs::perms{0755});
  for (const fs::path& file : {program.filename(), fs::path("libtagwright_platform.so")}) {
    fs::copy_file(program.parent_path() / file, folder / file, fs::copy_options::skip_existing);
  }
  return folder / program.filename();
}

/// Runs a role of this program in a shell, after `before`, and returns its exit code. What it
/// writes to standard error goes to `errors`.
int RunRole(const std::string& before, const std::string& role, const std::string& argument,
            std::string* errors = nullptr) {
  const fs::path output = platform::StateRootPath() + "/stderr";
  const int status = std::system((before + ProgramForEveryone() + " --victim " + role + " - " +
                                  argument + " 2>" + output.string())
                                     .c_str());
  if (errors != nullptr) {
    std::ifstream file(output);
    errors->assign(std::istreambuf_iterator<char>(file), {});
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int ModeOf(const fs::path& path) { return static_cast<int>(fs::status(path).permissions()); }

struct Everyone {
  Everyone() { dacl.AddACE("(A;OICI;GA;;;WD)"); }
  operator SECURITY_ATTRIBUTES*() { return dacl; }
  SecurityDACL dacl;
};

HANDLE NewPipe(const std::u16string& name, SECURITY_ATTRIBUTES* security) {
  return CreateNamedPipeW((u"\\\\.\\pipe\\" + name).c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 0, 0, 0,
                          security);
}

DWORD ErrorOfConnecting(const std::u16string& name) {
  const HANDLE pipe = CreateFileW((u"\\\\.\\pipe\\" + name).c_str(), GENERIC_READ | GENERIC_WRITE,
                                  0, nullptr, OPEN_EXISTING, 0, nullptr);
  return pipe == INVALID_HANDLE_VALUE ? GetLastError() : 0;
}

/// The mode that a path under the state root has to have.
int ModeFor(const fs::path& path) {
  const fs::path folder = path.parent_path().filename();
  const std::string name = path.filename();
  if (fs::is_directory(path)) {
    return name == "root" || name == "pipe" || name == ".lock" || name == "mutex" ? 0711 : 0700;
  }
  if (folder == ".lock") return 0644;
  return name == "everyone" ? 0666 : 0600;
}

/// Makes one of everything in a new state root; the exit code is the number of wrong modes.
const VictimRole kMaker("maker-of-state", [](VictimSide&, const std::string& root) {
  Everyone everyone;
  CreateMutexW(everyone, FALSE, u"everyone");
  NewPipe(u"everyone", everyone);
  CreateMutexW(nullptr, FALSE, u"private");
  NewPipe(u"private", nullptr);
  HKEY key = nullptr;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"Software", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                  nullptr);
  CreateDirectoryW(u"C:\\Log Files", nullptr);
  std::FILE* const log = _fsopen("C:\\Log Files\\log.txt", "a", _SH_DENYNO);
  std::fputs("line\n", log);
  std::fclose(log);
  CreateFileW(u"C:\\Log Files\\dump", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  LPCWSTR text = u"text";
  ReportEventW(RegisterEventSourceW(nullptr, u"source"), EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0,
               &text, nullptr);
  const auto listener = platform::DebugListener::Open();
  int wrong = ModeOf(root) == ModeFor(root) ? 0 : 1;
  int count = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    ++count;
    if (ModeOf(entry) == ModeFor(entry)) continue;
    std::fprintf(stderr, "%s has mode %o\n", entry.path().c_str(), ModeOf(entry));
    ++wrong;
  }
  return count < 17 ? 99 : wrong;
});

TEST(Access, HoldsWhateverTheUmaskIs) {
  for (const std::string umask : {"000", "077"}) {
    const std::string root = platform::StateRootPath() + "/umask" + umask + "/root";
    std::string setting = "umask " + umask;
    setting.append("; TAGWRIGHT_ROOT=").append(root).append(" ");
    std::string errors;
    EXPECT_EQ(RunRole(setting, "maker-of-state", root, &errors), 0)
        << "umask " << umask << ": " << errors;
  }
}

/// What another user gets from the pipes and mutexes of the test below.
const VictimRole kOtherUser("other-user", [](VictimSide&, const std::string& which) {
  const std::u16string name(which.begin(), which.end());
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
  const DWORD mutexError = GetLastError();
  const DWORD pipeError = ErrorOfConnecting(name);
  if (mutexError == ERROR_ACCESS_DENIED && pipeError == ERROR_ACCESS_DENIED) return 1;
  if (mutexError != ERROR_ALREADY_EXISTS || pipeError != 0) return 2;
  return WaitForSingleObject(mutex, 10) == WAIT_TIMEOUT ? 3 : 4;
});

/// Uses a mutex twice as another user, and makes it its owner's alone in between; the last error.
const VictimRole kFormerUser("former-user", [](VictimSide&, const std::string& name) {
  DWORD error = 0;
  for (int time = 0; time < 2; ++time) {
    seteuid(65534);
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, platform::ToUtf16(name).c_str());
    error = GetLastError();
    if (mutex != nullptr) CloseHandle(mutex);
    seteuid(0);
    chmod((platform::SharedStatePath("mutex") + "/" + name).c_str(), 0600);
  }
  return static_cast<int>(error);
});

/// Uses the registry ten times, in a current folder that is removed before; how often that fails.
const VictimRole kRegistryUser("registry-user", [](VictimSide&, const std::string& folder) {
  if (folder != "-" && (chdir(folder.c_str()) != 0 || rmdir(folder.c_str()) != 0)) return 99;
  HKEY key = nullptr;
  int failures = 0;
  for (int i = 0; i < 10; ++i) {
    failures += RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"", 0, KEY_READ, &key) == 0 ? 0 : 1;
  }
  return failures;
});

TEST(Access, OtherUsersReachWhatIsForEveryoneAndNothingElse) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  Everyone everyone;
  const struct {
    std::u16string name;
    SECURITY_ATTRIBUTES* security;
    int expected;
  } cases[] = {{u"for-everyone", everyone, 3}, {u"for-one", nullptr, 1}};
  for (const auto& one : cases) {
    const HANDLE handles[] = {CreateMutexW(one.security, TRUE, one.name.c_str()),
                              NewPipe(one.name, one.security)};
    EXPECT_EQ(RunRole(kAsAnotherUser, "other-user", std::string(one.name.begin(), one.name.end())),
              one.expected);
    for (const HANDLE handle : handles) CloseHandle(handle);
  }
  CloseHandle(CreateMutexW(everyone, FALSE, u"once-for-everyone"));
  EXPECT_EQ(Victim("former-user", "once-for-everyone").ExitCode(), ERROR_ACCESS_DENIED);
  std::string errors;
  EXPECT_EQ(RunRole(kAsAnotherUser, "registry-user", "-", &errors), kRefusedRoot);
  EXPECT_EQ(errors, "test_posix: the state root " + platform::StateRootPath() +
                        " cannot be used: it belongs to another user\n");
}

TEST(Access, RootsThatOthersMayWriteOrThatCannotBeMadeAreRefused) {
  const std::string folder = platform::StateRootPath();
  const struct {
    std::string before;
    std::string root;
    std::string reason;
    std::string removedFolder = "-";
  } cases[] = {
      {"mkdir -m 777 " + folder + "/open; ", folder + "/open", "other users may write to it"},
      {"mkdir " + folder + "/gone; ", "relative", "No such file or directory", folder + "/gone"},
      {"touch " + folder + "/file; ", folder + "/file", "Not a directory"},
  };
  for (const auto& one : cases) {
    std::string errors;
    EXPECT_EQ(RunRole(one.before + "TAGWRIGHT_ROOT=" + one.root + " ", "registry-user",
                      one.removedFolder, &errors),
              kRefusedRoot);
    EXPECT_EQ(errors,
              "test_posix: the state root " + one.root + " cannot be used: " + one.reason + "\n");
  }
}

const VictimRole kLocker("registry-locker", [](VictimSide& side, const std::string& path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
  struct flock everything {};
  everything.l_type = F_WRLCK;
  if (fcntl(file, F_SETLK, &everything) != 0) return 1;
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

TEST(Access, RegistryThatAnotherProgramLocksCostsItsTimeOutOnce) {
  const std::string root = platform::StateRootPath() + "/locked";
  fs::create_directory(root);
  fs::permissions(root, fs::perms(0700));
  Victim locker("registry-locker", root + "/registry.db");
  locker.WaitUntilReady();
  // Of ten calls one waits; that each of them does is what the bound excludes.
  std::string errors;
  EXPECT_EQ(RunRole("TAGWRIGHT_ROOT=" + root + " timeout 25 ", "registry-user", "-", &errors), 10);
  EXPECT_EQ(errors,
            "test_posix: the registry " + root + "/registry.db cannot be used: error 1016\n");
}

/// Does what anybody may do to a mutex file that everyone may write.
const VictimRole kSpoiler("mutex-spoiler", [](VictimSide& side, const std::string& name) {
  const int file = open((platform::SharedStatePath("mutex") + "/" + name).c_str(), O_RDWR);
  if (ftruncate(file, 0) != 0) return 1;
  side.Ready();
  side.WaitUntilReleased();
  const std::string junk(5000, 'x');
  if (pwrite(file, junk.data(), junk.size(), 0) < 0) return 2;
  struct flock everything {};
  everything.l_type = F_WRLCK;
  if (fcntl(file, F_SETLKW, &everything) != 0) return 3;
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

TEST(Access, SpoiltMutexCostsItsTimeOutAndNoMore) {
  Everyone everyone;
  const HANDLE mutex = CreateMutexW(everyone, TRUE, u"spoilt");
  Victim spoiler("mutex-spoiler", "spoilt");
  spoiler.WaitUntilReady();  // The file is empty now.
  EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
  EXPECT_TRUE(ReleaseMutex(mutex));
  EXPECT_TRUE(ReleaseMutex(mutex));
  CloseHandle(mutex);
  spoiler.Release();
  spoiler.WaitUntilReady();  // It is full of junk, and everything is locked.
  const HANDLE again = CreateMutexW(everyone, TRUE, u"spoilt");
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  EXPECT_EQ(WaitForSingleObject(again, 20), DWORD{WAIT_TIMEOUT});
  TestThread waiter([&] { return WaitForSingleObject(again, TestThread::kBoundMs); });
  spoiler.Kill();
  waiter.Join();
  EXPECT_EQ(waiter.ExitCode(), WAIT_ABANDONED);
  CloseHandle(again);
}

}  // namespace
