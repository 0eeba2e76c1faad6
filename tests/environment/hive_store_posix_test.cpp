// The hive files of the POSIX configuration store: where they are, what
// happens to read-only, damaged and foreign files, several processes writing
// at once, writers killed in the middle of their work, and when what is
// written reaches the disk.

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
#include "sync_recorder.h"

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

// Starts hive_writer on `dir` with `count` values named `prefix`<i>, and
// the given options; its standard output comes through `output`.
Child spawnWriter(const std::string& dir, const std::string& prefix, long count,
                  const std::vector<std::string>& options) {
    int pipeFds[2] = {-1, -1};
    if (pipe(pipeFds) != 0)
        return {};
    std::vector<std::string> args = {KEL_HIVE_WRITER, dir, "Software\\KelTest", prefix,
                                     std::to_string(count)};
    args.insert(args.end(), options.begin(), options.end());
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(pipeFds[1], STDOUT_FILENO);
        close(pipeFds[0]);
        close(pipeFds[1]);
        std::vector<char*> argv;
        for (std::string& arg : args)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(pipeFds[1]);
    return {pid, pipeFds[0]};
}

Child spawnWriter(const std::string& dir, const std::string& prefix, long count) {
    return spawnWriter(dir, prefix, count, std::vector<std::string>{});
}

std::string readAll(int fd) {
    std::string text;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fd, buffer, sizeof buffer)) != 0) {
        if (n > 0)
            text.append(buffer, static_cast<size_t>(n));
        else if (errno != EINTR)
            break;
    }
    return text;
}

int waitFor(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// The exit status of a helper and what it printed.
struct Finished {
    int status = -1;
    std::string output;
    bool exitedWith(int code) const { return WIFEXITED(status) && WEXITSTATUS(status) == code; }
};

Finished finish(Child& child) {
    Finished result;
    if (child.output >= 0) {
        result.output = readAll(child.output);
        close(child.output);
        child.output = -1;
    }
    result.status = waitFor(child.pid);
    return result;
}

// Runs hive_writer to its end: its values are then at rest in `dir`.
void writeInAnotherProcess(const std::string& dir, const std::string& prefix, long count) {
    Child child = spawnWriter(dir, prefix, count);
    ASSERT_GT(child.pid, 0);
    const Finished done = finish(child);
    ASSERT_TRUE(done.exitedWith(0)) << "status " << done.status;
}

off_t fileSize(const std::string& path) {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 ? st.st_size : -1;
}

// The hive's log: absent or empty once every value is in the database file.
bool logIsEmpty(const std::string& hive) {
    return fileSize(hive + "-wal") <= 0;
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
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 0), 0);
    EXPECT_EQ(KelRegistry::getRegValue(kKey.c_str(), L"v", value, 0, false), 0);
    EXPECT_EQ(text(value), L"previous");
    // The classes read asks for every right, writing included: still no file.
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"KelTest", L"", value), 0);
    EXPECT_EQ(text(value), L"previous");
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 9ul);
    EXPECT_EQ(text(KelRegistry::getPathData(false)), L"");
    EXPECT_EQ(text(KelRegistry::getDatabaseConnectionsString(L"x")), L"");
    HiveKeyHolder key;
    EXPECT_EQ(openKey(Hive::Machine, kKey, kKeyAllAccess, key.key), kErrorFileNotFound);
    bool opened = true;
    unsigned long size = 0;
    EXPECT_EQ(readValue(Hive::User, kKey, kKeyAllAccess, L"v", nullptr, nullptr, &size, opened),
              kErrorFileNotFound);
    EXPECT_FALSE(opened);
    EXPECT_TRUE(fs::is_empty(registryDir()));
}

TEST(HiveFiles, TheRootOfAHiveWithoutAFileOpensAndItsFirstChangeCreatesTheFile) {
    HiveKeyHolder root;
    ASSERT_EQ(openKey(Hive::Classes, L"", kKeyAllAccess, root.key), kErrorSuccess);
    std::vector<HiveValue> values;
    EXPECT_EQ(enumValues(root.key, values), kErrorSuccess);
    EXPECT_TRUE(values.empty());
    std::vector<std::wstring> names;
    EXPECT_EQ(enumSubKeys(root.key, names), kErrorSuccess);
    EXPECT_TRUE(names.empty());
    unsigned long size = 0;
    EXPECT_EQ(queryValue(root.key, L"", nullptr, nullptr, &size), kErrorFileNotFound);
    EXPECT_EQ(deleteValue(root.key, L""), kErrorFileNotFound);
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"", L"", value), 1);
    EXPECT_EQ(text(value), L"");
    EXPECT_TRUE(fs::is_empty(registryDir()));

    const std::vector<unsigned char> data = textToValueData(L"root", true);
    ASSERT_EQ(setValue(root.key, L"", kRegSz, data.data(), static_cast<unsigned long>(data.size())),
              kErrorSuccess);
    EXPECT_TRUE(fs::exists(registryDir() + "/classes.db"));
    EXPECT_EQ(KelRegistry::getRegValueClassesRoot(L"", L"", value), 1);
    EXPECT_EQ(text(value), L"root");
    EXPECT_EQ(enumValues(root.key, values), kErrorSuccess);
    EXPECT_EQ(values.size(), 1u);
}

TEST(HiveFiles, ReadingAnEmptyFileLeavesItEmpty) {
    writeBytes(registryDir() + "/user.db", "");
    KelString value(L"previous");
    EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v", value, 0), 0);
    EXPECT_EQ(KelRegistry::getCurrentCultureId(), 9ul);
    HiveKeyHolder root;
    EXPECT_EQ(openKey(Hive::User, L"", kKeyAllAccess, root.key), kErrorSuccess);
    EXPECT_EQ(fileSize(registryDir() + "/user.db"), 0);
    EXPECT_TRUE(logIsEmpty(registryDir() + "/user.db"));
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

TEST(HiveFiles, OnceTheWriterHasEndedTheHiveFileAloneHoldsEveryValue) {
    writeInAnotherProcess(registryDir(), "v", 300);
    EXPECT_TRUE(logIsEmpty(registryDir() + "/user.db"));
    const std::string copy = kel::test::tempDir() + "/copy";
    fs::create_directories(copy);
    fs::copy_file(registryDir() + "/user.db", copy + "/user.db");
    kel::test::setEnv("KEL_REGISTRY_DIR", copy.c_str());
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(readUserText(kKey, L"v" + std::to_wstring(i)), L"value-" + std::to_wstring(i));
}

TEST(HiveFiles, WhileTheWriterRunsItsLatestValuesMayBeInTheLogAlone) {
    // This process still has the hive open: its writes are durable in the
    // log, and the database file catches up when the process ends.
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), std::to_wstring(i).c_str(), i),
                  1);
    EXPECT_GT(fileSize(registryDir() + "/user.db-wal"), 0);
    for (int i = 0; i < 20; ++i) {
        int value = -1;
        EXPECT_EQ(
            KelRegistry::getRegValueCurrentUser(kKey.c_str(), std::to_wstring(i).c_str(), value, 0),
            1);
        EXPECT_EQ(value, i);
    }
}

// A hive replaced while no process writes to it (its log empty), as an
// administrator restores a copy: a process that has it open reads the new
// file.
TEST(HiveFiles, ReplacedHiveFileIsNoticed) {
    writeInAnotherProcess(registryDir(), "old", 1);
    EXPECT_EQ(readUserText(kKey, L"old0"), L"value-0");
    const std::string other = kel::test::tempDir() + "/other";
    writeInAnotherProcess(other, "new", 1);
    fs::rename(other + "/user.db", registryDir() + "/user.db");
    EXPECT_EQ(readUserText(kKey, L"new0"), L"value-0");
    EXPECT_EQ(readUserText(kKey, L"old0"), L"<none>");
}

TEST(HiveFiles, HiveFileOverwrittenInPlaceIsNoticed) {
    writeInAnotherProcess(registryDir(), "old", 1);
    EXPECT_EQ(readUserText(kKey, L"old0"), L"value-0");
    const std::string other = kel::test::tempDir() + "/other";
    writeInAnotherProcess(other, "new", 2);
    fs::copy_file(other + "/user.db", registryDir() + "/user.db",
                  fs::copy_options::overwrite_existing);
    EXPECT_EQ(readUserText(kKey, L"new1"), L"value-1");
    EXPECT_EQ(readUserText(kKey, L"old0"), L"<none>");
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

TEST(HiveProcesses, FourWritersAndAReaderLoseNothingAndLeaveEverythingInTheHiveFile) {
    constexpr int kWriters = 4;
    constexpr long kValues = 2000;
    std::vector<Child> children;
    for (int w = 0; w < kWriters; ++w)
        children.push_back(spawnWriter(registryDir(), "w" + std::to_string(w) + "-", kValues));
    children.push_back(spawnWriter(registryDir(), "w0-", 20000, {"--read"}));
    for (Child& child : children) {
        ASSERT_GT(child.pid, 0);
        const Finished done = finish(child);
        EXPECT_TRUE(done.exitedWith(0)) << "status " << done.status;
    }
    // No process has the hive open: the database file alone holds every
    // value, the log is empty.
    const std::string hive = registryDir() + "/user.db";
    EXPECT_TRUE(logIsEmpty(hive)) << fileSize(hive + "-wal") << " bytes in the log";
    const std::string copy = kel::test::tempDir() + "/copy";
    fs::create_directories(copy);
    fs::copy_file(hive, copy + "/user.db");
    EXPECT_EQ(integrityCheck(copy + "/user.db"), "ok");
    kel::test::setEnv("KEL_REGISTRY_DIR", copy.c_str());

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
}

// Several processes whose first write meets a new file at the same moment
// all switch it to the write-ahead log together; none may fail for the
// locks the others hold meanwhile. Many rounds, as the moment is short.
TEST(HiveProcesses, ProcessesSwitchingANewHiveAtOnceAllWrite) {
    constexpr int kRounds = 25;
    constexpr int kProcesses = 6;
    for (int round = 0; round < kRounds; ++round) {
        const std::string dir = kel::test::tempDir() + "/round" + std::to_string(round);
        fs::create_directories(dir);
        std::vector<Child> children;
        for (int p = 0; p < kProcesses; ++p)
            children.push_back(spawnWriter(dir, "p" + std::to_string(p) + "-", 1));
        for (Child& child : children) {
            ASSERT_GT(child.pid, 0);
            const Finished done = finish(child);
            EXPECT_TRUE(done.exitedWith(0)) << "round " << round << ", status " << done.status;
        }
        kel::test::setEnv("KEL_REGISTRY_DIR", dir.c_str());
        for (int p = 0; p < kProcesses; ++p)
            EXPECT_EQ(readUserText(kKey, L"p" + std::to_wstring(p) + L"-0"), L"value-0")
                << "round " << round;
    }
}

TEST(HiveProcesses, WriterKilledMidLoopLosesNoCommittedValue) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 20; ++round) {
        const std::string dir = kel::test::tempDir() + "/killed" + std::to_string(round);
        Child child = spawnWriter(dir, "v", 1000000, {"--report"});
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

// ----- durability ----------------------------------------------------------------------

// The numbers in hive_writer's last line: "writes W unsynced U logSyncs L
// databaseSyncs D".
struct WriterSummary {
    long writes = -1;
    long unsynced = -1;
    long logSyncs = -1;
    long databaseSyncs = -1;
};

WriterSummary summaryOf(const std::string& output) {
    WriterSummary summary;
    const size_t start = output.rfind("writes ");
    if (start != std::string::npos)
        std::sscanf(output.c_str() + start,
                    "writes %ld unsynced %ld logSyncs %ld databaseSyncs %ld", &summary.writes,
                    &summary.unsynced, &summary.logSyncs, &summary.databaseSyncs);
    return summary;
}

TEST(HiveDurability, EachCommitSynchronisesTheLogOnceAndNothingElse) {
    kel::test::installSyncRecorder();
    // The first write creates the hive and the log, whose header is
    // synchronised on its own.
    ASSERT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"first", 0), 1);
    EXPECT_EQ(kel::test::unsyncedLogs(), 0);
    for (int i = 0; i < 100; ++i) {
        const kel::test::SyncCounts before = kel::test::syncCounts();
        ASSERT_EQ(KelRegistry::setRegValueCurrentUser(
                      kKey.c_str(), (L"v" + std::to_wstring(i)).c_str(), KelString(L"some text")),
                  1);
        const kel::test::SyncCounts after = kel::test::syncCounts();
        EXPECT_EQ(after.logSyncs - before.logSyncs, 1) << "write " << i;
        EXPECT_EQ(after.databaseSyncs - before.databaseSyncs, 0) << "write " << i;
        EXPECT_EQ(after.databaseWrites - before.databaseWrites, 0) << "write " << i;
        EXPECT_GT(after.logWrites - before.logWrites, 0) << "write " << i;
        EXPECT_EQ(kel::test::unsyncedLogs(), 0) << "write " << i;
    }
    // Reads synchronise nothing.
    const kel::test::SyncCounts before = kel::test::syncCounts();
    EXPECT_EQ(readUserText(kKey, L"v7"), L"some text");
    const kel::test::SyncCounts after = kel::test::syncCounts();
    EXPECT_EQ(after.logSyncs + after.databaseSyncs, before.logSyncs + before.databaseSyncs);
}

TEST(HiveDurability, EveryWriteIsOnDiskWhenItReturnsWhileOtherProcessesWriteAndRead) {
    kel::test::installSyncRecorder();
    ASSERT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"first", 0), 1);
    std::vector<Child> writers;
    for (int w = 0; w < 2; ++w)
        writers.push_back(spawnWriter(registryDir(), "other" + std::to_string(w) + "-", 300,
                                      {"--check-durable"}));
    Child reader = spawnWriter(registryDir(), "other0-", 30000, {"--read"});
    long unsynced = 0;
    long logSyncs = 0;
    constexpr int kWrites = 300;
    for (int i = 0; i < kWrites; ++i) {
        const kel::test::SyncCounts before = kel::test::syncCounts();
        ASSERT_EQ(KelRegistry::setRegValueCurrentUser(
                      kKey.c_str(), (L"mine" + std::to_wstring(i)).c_str(), KelString(L"value")),
                  1);
        unsynced += kel::test::unsyncedLogs() != 0;
        logSyncs += kel::test::syncCounts().logSyncs - before.logSyncs >= 1;
    }
    EXPECT_EQ(unsynced, 0) << "writes that returned before their data was on disk";
    EXPECT_EQ(logSyncs, kWrites) << "writes that synchronised no log";
    for (Child& writer : writers) {
        const Finished done = finish(writer);
        EXPECT_TRUE(done.exitedWith(0)) << done.output;
        const WriterSummary summary = summaryOf(done.output);
        EXPECT_EQ(summary.writes, 300) << done.output;
        EXPECT_EQ(summary.unsynced, 0) << done.output;
        EXPECT_GE(summary.logSyncs, 300) << done.output;
    }
    EXPECT_TRUE(finish(reader).exitedWith(0));
    for (int i = 0; i < kWrites; i += 29)
        EXPECT_EQ(readUserText(kKey, L"mine" + std::to_wstring(i)), L"value");
}

// ----- damaged pages --------------------------------------------------------------------

// A hive of several pages at rest, as a process that has ended leaves it.
std::string restingHive(const std::string& dir) {
    writeInAnotherProcess(dir, "v", 400);
    return readBytes(dir + "/user.db");
}

TEST(HiveFiles, DamagedPagesUnderAnIntactHeaderAreFoundAtOpenAndNeverWritten) {
    const std::string original = restingHive(kel::test::tempDir() + "/original");
    const size_t pageSize =
        (static_cast<unsigned char>(original[16]) << 8) | static_cast<unsigned char>(original[17]);
    ASSERT_EQ(original.size() % pageSize, 0u);
    const size_t pages = original.size() / pageSize;
    ASSERT_GE(pages, 4u);
    for (size_t page = 2; page <= pages; ++page) {
        const std::string dir = kel::test::tempDir() + "/damaged" + std::to_string(page);
        fs::create_directories(dir);
        std::string bytes = original;
        const std::string noise = randomBytes(pageSize, static_cast<unsigned>(page));
        bytes.replace((page - 1) * pageSize, pageSize, noise);
        writeBytes(dir + "/user.db", bytes);
        kel::test::setEnv("KEL_REGISTRY_DIR", dir.c_str());

        KelString value(L"previous");
        EXPECT_EQ(KelRegistry::getRegValueCurrentUser(kKey.c_str(), L"v1", value, 0), 0)
            << "page " << page;
        EXPECT_EQ(text(value), L"previous");
        EXPECT_EQ(KelRegistry::setRegValueCurrentUser(kKey.c_str(), L"v1", KelString(L"x")), 0)
            << "page " << page;
        EXPECT_EQ(KelRegistry::setRegValueCurrentUser((kKey + L"\\New").c_str(), L"n", 1), 0);
        HiveKeyHolder key;
        EXPECT_EQ(createKey(Hive::User, kKey + L"\\Other", kKeyAllAccess, key.key), kErrorBadDb);
        EXPECT_EQ(openKey(Hive::User, kKey, kKeyRead, key.key), kErrorBadDb);
        EXPECT_TRUE(readBytes(dir + "/user.db") == bytes) << "page " << page << " was written";
        EXPECT_TRUE(logIsEmpty(dir + "/user.db")) << "page " << page;
    }
}
