// The hive files of the POSIX configuration store: where they are, what
// happens to read-only, damaged and foreign files, several processes writing
// at once, and writers killed in the middle of their work.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <sqlite3.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "environment/hive_store.h"
#include "hive_test_support.h"
#include "support/isolation.h"

namespace fs = std::filesystem;
using namespace kel::detail;
using kel::test::keyExists;
using kel::test::putText;

namespace {

const std::wstring kKey = L"Software\\KelTest";

std::wstring text(const KelString& s) {
    return s.getStringW();
}

std::string registryDir() {
    return kel::test::tempDir() + "/registry";
}

std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string randomBytes(size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(count, '\0');
    for (char& c : bytes)
        c = static_cast<char>(generator() & 0xFF);
    return bytes;
}

std::wstring readUserText(const std::wstring& key, const std::wstring& name) {
    KelString value(L"<none>");
    KelRegistry::getRegValueCurrentUser(key.c_str(), name.c_str(), value, 0);
    return value.getStringW();
}

// SQLite's own verdict on a database file.
std::string integrityCheck(const std::string& path) {
    sqlite3* db = nullptr;
    std::string verdict = "cannot open";
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &statement, nullptr) ==
                SQLITE_OK &&
            sqlite3_step(statement) == SQLITE_ROW)
            verdict = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        else
            verdict = sqlite3_errmsg(db);
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return verdict;
}

// A running helper process whose standard output the test reads.
struct Child {
    pid_t pid = -1;
    int output = -1;
};

Child spawnWriter(const std::string& dir, const std::string& prefix, long count, bool report) {
    int pipeFds[2] = {-1, -1};
    if (report && pipe(pipeFds) != 0)
        return {};
    std::vector<std::string> args = {KEL_HIVE_WRITER, dir, "Software\\KelTest", prefix,
                                     std::to_string(count)};
    if (report)
        args.push_back("--report");
    const pid_t pid = fork();
    if (pid == 0) {
        if (report) {
            dup2(pipeFds[1], STDOUT_FILENO);
            close(pipeFds[0]);
            close(pipeFds[1]);
        }
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    if (report)
        close(pipeFds[1]);
    return {pid, report ? pipeFds[0] : -1};
}

int waitFor(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// Reads whole lines from `fd` until `wanted` numbers have arrived (or the
// pipe ends, when `wanted` is negative); returns the numbers.
std::vector<long> readReports(int fd, long wanted, std::string& pending) {
    std::vector<long> numbers;
    char buffer[4096];
    while (wanted < 0 || static_cast<long>(numbers.size()) < wanted) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0 && !(n < 0 && errno == EINTR))
            break;
        if (n <= 0)
            continue;
        pending.append(buffer, static_cast<size_t>(n));
        size_t newline;
        while ((newline = pending.find('\n')) != std::string::npos) {
            numbers.push_back(std::stol(pending.substr(0, newline)));
            pending.erase(0, newline + 1);
        }
    }
    return numbers;
}

}  // namespace

// ----- where the hives are ------------------------------------------------------------

TEST(HiveFiles, HivesAreFilesInKelRegistryDir) {
    putText(Hive::Machine, kKey, L"v", L"m");
    putText(Hive::User, kKey, L"v", L"u");
    putText(Hive::Classes, kKey, L"v", L"c");
    EXPECT_TRUE(fs::exists(registryDir() + "/machine.db"));
    EXPECT_TRUE(fs::exists(registryDir() + "/user.db"));
    EXPECT_TRUE(fs::exists(registryDir() + "/classes.db"));
}

TEST(HiveFiles, ReadingCreatesNoFile) {
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 0), 0);
    EXPECT_EQ(KelRegistry::getRegValue(kKey.c_str(), L"v", value, 0, false), 0);
    EXPECT_TRUE(fs::is_empty(registryDir()));
    EXPECT_EQ(text(value), L"");
}

TEST(HiveFiles, DirectoryIsCreatedOnFirstWrite) {
    const std::string dir = kel::test::tempDir() + "/not/yet/there";
    kel::test::setEnv("KEL_REGISTRY_DIR", dir.c_str());
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", 1), 1);
    EXPECT_TRUE(fs::exists(dir + "/user.db"));
}

TEST(HiveFiles, UserHiveInXdgConfigHomeWithoutKelRegistryDir) {
    kel::test::setEnv("KEL_REGISTRY_DIR", nullptr);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", 1), 1);
    EXPECT_TRUE(fs::exists(kel::test::tempDir() + "/config/kel/registry/user.db"));
}

TEST(HiveFiles, UserHiveInHomeConfigWithoutXdgConfigHome) {
    kel::test::setEnv("KEL_REGISTRY_DIR", nullptr);
    kel::test::setEnv("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", 1), 1);
    EXPECT_TRUE(fs::exists(kel::test::tempDir() + "/home/.config/kel/registry/user.db"));
    EXPECT_EQ(fs::status(kel::test::tempDir() + "/home/.config/kel/registry").permissions() &
                  fs::perms::all,
              fs::perms::owner_all);
}

TEST(HiveFiles, ChangingKelRegistryDirReachesOtherHives) {
    const std::string first = kel::test::tempDir() + "/first";
    const std::string second = kel::test::tempDir() + "/second";
    kel::test::setEnv("KEL_REGISTRY_DIR", first.c_str());
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"first")), 1);
    kel::test::setEnv("KEL_REGISTRY_DIR", second.c_str());
    EXPECT_EQ(readUserText(kKey, L"v"), L"<none>");
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"second")), 1);
    kel::test::setEnv("KEL_REGISTRY_DIR", first.c_str());
    EXPECT_EQ(readUserText(kKey, L"v"), L"first");
}

// ----- files replaced behind the store's back ---------------------------------------------

TEST(HiveFiles, HiveFileCopiedWithoutItsLogHoldsEveryValue) {
    for (int i = 0; i < 20; ++i)
        KelRegistry::setRegValueCurrentUser(kKey.c_str(), std::to_wstring(i).c_str(), i);
    const std::string copy = kel::test::tempDir() + "/copy";
    fs::create_directories(copy);
    fs::copy_file(registryDir() + "/user.db", copy + "/machine.db");
    kel::test::setEnv("KEL_REGISTRY_DIR", copy.c_str());
    for (int i = 0; i < 20; ++i) {
        unsigned long value = 99;
        EXPECT_EQ(
            KelRegistry::getRegValue(kKey.c_str(), std::to_wstring(i).c_str(), value, 0, false), 1);
        EXPECT_EQ(value, static_cast<unsigned long>(i));
    }
}

TEST(HiveFiles, ReplacedHiveFileIsNoticed) {
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"old"));
    EXPECT_EQ(readUserText(kKey, L"v"), L"old");
    // Another hive, written elsewhere, renamed over this one.
    const std::string other = kel::test::tempDir() + "/other";
    kel::test::setEnv("KEL_REGISTRY_DIR", other.c_str());
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"new"));
    kel::test::setEnv("KEL_REGISTRY_DIR", registryDir().c_str());
    fs::rename(other + "/user.db", registryDir() + "/user.db");
    EXPECT_EQ(readUserText(kKey, L"v"), L"new");
}

TEST(HiveFiles, HiveFileOverwrittenInPlaceIsNoticed) {
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"old"));
    EXPECT_EQ(readUserText(kKey, L"v"), L"old");
    const std::string other = kel::test::tempDir() + "/other";
    kel::test::setEnv("KEL_REGISTRY_DIR", other.c_str());
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"newer text"));
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"w", KelString(L"more"));
    kel::test::setEnv("KEL_REGISTRY_DIR", registryDir().c_str());
    fs::copy_file(other + "/user.db", registryDir() + "/user.db",
                  fs::copy_options::overwrite_existing);
    EXPECT_EQ(readUserText(kKey, L"v"), L"newer text");
    EXPECT_EQ(readUserText(kKey, L"w"), L"more");
}

TEST(HiveFiles, RemovedHiveFileStartsAfresh) {
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"old"));
    for (const char* suffix : {"", "-wal", "-shm"})
        fs::remove(registryDir() + "/user.db" + suffix);
    EXPECT_EQ(readUserText(kKey, L"v"), L"<none>");
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"w", 1), 1);
    EXPECT_TRUE(fs::exists(registryDir() + "/user.db"));
}

// ----- read-only, damaged and foreign files -----------------------------------------------

TEST(HiveFiles, ReadOnlyHiveRefusesWritesAndServesReads) {
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"kept"));
    const std::string path = registryDir() + "/user.db";
    fs::permissions(path, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    const std::string before = readBytes(path);

    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"changed")), 0);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser((kKey + L"\\New").c_str(), L"v", 1), 0);
    EXPECT_EQ(readUserText(kKey, L"v"), L"kept");
    KelString value;
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser((kKey + L"\\Made").c_str(), L"v", value, 1), 0);
    EXPECT_FALSE(keyExists(Hive::User, kKey + L"\\Made"));

    HiveKeyHolder key;
    EXPECT_EQ(openKey(Hive::User, kKey, kKeyWrite, key.key), kErrorAccessDenied);
    EXPECT_EQ(createKey(Hive::User, kKey + L"\\Other", kKeyAllAccess, key.key), kErrorAccessDenied);
    EXPECT_EQ(deleteTree(Hive::User, kKey, 0), kErrorAccessDenied);
    // An existing key still opens for reading through createKey.
    EXPECT_EQ(createKey(Hive::User, kKey, kKeyRead, key.key), kErrorSuccess);
    EXPECT_EQ(readBytes(path), before);
}

TEST(HiveFiles, ReadOnlyClassesHiveRefusesTheClassesRead) {
    putText(Hive::Classes, L"KelTest", L"", L"x");
    fs::permissions(registryDir() + "/classes.db", fs::perms::owner_read);
    KelString value(L"previous");
    // The full access rights asked for are refused.
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest", L"", value), 0);
    EXPECT_EQ(text(value), L"previous");
}

TEST(HiveFiles, RandomBytesFailCleanlyAndAreLeftUntouched) {
    for (unsigned seed = 1; seed <= 5; ++seed) {
        const std::string path = registryDir() + "/user.db";
        const std::string bytes = randomBytes(1024 * seed * 7, seed);
        writeBytes(path, bytes);
        KelString value(L"previous");
        EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 0), 0);
        EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 1), 0);
        EXPECT_EQ(text(value), L"previous");
        EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", 1), 0);
        EXPECT_EQ(KelRegistry::getCurrentCultureId(), 9ul);
        HiveKeyHolder key;
        EXPECT_EQ(openKey(Hive::User, kKey, kKeyRead, key.key), kErrorBadDb);
        EXPECT_EQ(readBytes(path), bytes) << "seed " << seed;
    }
}

TEST(HiveFiles, DamagedDatabaseFailsCleanlyAndIsLeftUntouched) {
    // A real SQLite header followed by garbage.
    const std::string path = registryDir() + "/user.db";
    std::string bytes = randomBytes(8192, 42);
    const char header[] = "SQLite format 3";
    std::copy(header, header + sizeof header, bytes.begin());
    writeBytes(path, bytes);
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 0), 0);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", 1), 0);
    EXPECT_EQ(text(value), L"previous");
    EXPECT_EQ(readBytes(path), bytes);
}

TEST(HiveFiles, ForeignDatabaseIsReportedAndLeftUntouched) {
    const std::string path = registryDir() + "/user.db";
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE beams(name TEXT); INSERT INTO beams VALUES('HEA');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    const std::string before = readBytes(path);
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 1), 0);
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", 1), 0);
    HiveKeyHolder key;
    EXPECT_EQ(createKey(Hive::User, kKey, kKeyAllAccess, key.key), kErrorBadDb);
    EXPECT_EQ(readBytes(path), before);
}

TEST(HiveFiles, EmptyFileBecomesAHive) {
    writeBytes(registryDir() + "/user.db", "");
    EXPECT_EQ(readUserText(kKey, L"v"), L"<none>");
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v", KelString(L"now")), 1);
    EXPECT_EQ(readUserText(kKey, L"v"), L"now");
    EXPECT_EQ(integrityCheck(registryDir() + "/user.db"), "ok");
}

// ----- names the Windows registry would not take ---------------------------------------------

TEST(HiveFiles, BadKeyPaths) {
    HiveKeyHolder key;
    EXPECT_EQ(createKey(Hive::User, L"\\Software\\X", kKeyAllAccess, key.key), kErrorBadPathname);
    EXPECT_EQ(
        createKey(Hive::User, L"Software\\" + std::wstring(256, L'k'), kKeyAllAccess, key.key),
        kErrorInvalidParameter);
    EXPECT_EQ(
        createKey(Hive::User, L"Software\\" + std::wstring(255, L'k'), kKeyAllAccess, key.key),
        kErrorSuccess);
    closeKey(key.key);
    key.key = nullptr;
    // Doubled separators count once.
    EXPECT_EQ(createKey(Hive::User, L"Software\\\\Double\\\\", kKeyAllAccess, key.key),
              kErrorSuccess);
    EXPECT_TRUE(keyExists(Hive::User, L"Software\\Double"));
}

// ----- processes --------------------------------------------------------------------------------

TEST(HiveProcesses, FourWritersAtOnceLoseNothing) {
    constexpr int kWriters = 4;
    constexpr long kValues = 2000;
    std::vector<Child> children;
    for (int w = 0; w < kWriters; ++w)
        children.push_back(
            spawnWriter(registryDir(), "w" + std::to_string(w) + "-", kValues, false));
    for (const Child& child : children) {
        ASSERT_GT(child.pid, 0);
        const int status = waitFor(child.pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
    HiveKeyHolder key;
    ASSERT_EQ(openKey(Hive::User, kKey, kKeyRead, key.key), 0u);
    std::vector<HiveValue> values;
    ASSERT_EQ(enumValues(key.key, values), 0u);
    EXPECT_EQ(values.size(), static_cast<size_t>(kWriters * kValues));
    std::set<std::wstring> names;
    for (const HiveValue& value : values)
        names.insert(value.name);
    for (int w = 0; w < kWriters; ++w) {
        for (long i = 0; i < kValues; ++i) {
            const std::wstring name = L"w" + std::to_wstring(w) + L"-" + std::to_wstring(i);
            ASSERT_EQ(names.count(name), 1u) << std::string(name.begin(), name.end());
        }
    }
    for (long i = 0; i < kValues; i += 97)
        EXPECT_EQ(readUserText(kKey, L"w3-" + std::to_wstring(i)), L"value-" + std::to_wstring(i));
    EXPECT_EQ(integrityCheck(registryDir() + "/user.db"), "ok");
}

TEST(HiveProcesses, WriterKilledMidLoopLosesNoCommittedValue) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 20; ++round) {
        const std::string dir = kel::test::tempDir() + "/killed" + std::to_string(round);
        Child child = spawnWriter(dir, "v", 1000000, true);
        ASSERT_GT(child.pid, 0);
        std::string pending;
        std::vector<long> committed =
            readReports(child.output, 1 + static_cast<long>(random() % 150), pending);
        // Let it run on for a random moment, into the middle of a write.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        kill(child.pid, SIGKILL);
        const int status = waitFor(child.pid);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "round " << round;
        const std::vector<long> more = readReports(child.output, -1, pending);
        close(child.output);
        committed.insert(committed.end(), more.begin(), more.end());
        ASSERT_FALSE(committed.empty());

        EXPECT_EQ(integrityCheck(dir + "/user.db"), "ok") << "round " << round;
        kel::test::setEnv("KEL_REGISTRY_DIR", dir.c_str());
        for (long i : committed) {
            ASSERT_EQ(readUserText(kKey, L"v" + std::to_wstring(i)), L"value-" + std::to_wstring(i))
                << "round " << round << " value " << i;
        }
        // The hive still takes writes.
        EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"after", 1), 1);
    }
}

TEST(HiveProcesses, ChildAfterForkUsesItsOwnConnection) {
    KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"parent", KelString(L"p"));
    const pid_t pid = fork();
    if (pid == 0) {
        const bool ok =
            readUserText(kKey, L"parent") == L"p" &&
            KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"child", KelString(L"c")) == 1;
        _exit(ok ? 0 : 1);
    }
    ASSERT_GT(pid, 0);
    const int status = waitFor(pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(readUserText(kKey, L"child"), L"c");
    EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"parent", KelString(L"again")), 1);
    EXPECT_EQ(readUserText(kKey, L"parent"), L"again");
}
