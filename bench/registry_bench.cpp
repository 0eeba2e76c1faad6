// KelRegistry on the POSIX configuration store side by side with plain
// SQLite on an open connection: reads (text and number) and durable
// writes.
//
// Both sides use a database file in write-ahead-log mode, synchronised at
// each commit, in the same temporary folder; the library's hives live in
// KEL_REGISTRY_DIR there. A durable write waits for the disk, whose latency
// drifts with what else the machine does, so besides the two write loops
// one benchmark times a library write and a plain write in turn and reports
// both averages (the counters kel_us and reference_us) and their ratio.

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <sqlite3.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "environment/hive_store.h"

namespace {

namespace fs = std::filesystem;
using namespace kel::detail;

const wchar_t kKey[] = L"Software\\Norvane\\Gantrix\\2015.1\\Environment";

// The folder of both sides, removed when the program ends.
struct Workspace {
    Workspace() {
        std::random_device random;
        dir = fs::temp_directory_path() / ("kel-bench-" + std::to_string(random()));
        fs::create_directories(dir);
        setenv("KEL_REGISTRY_DIR", dir.c_str(), 1);
        HiveKeyHolder key;
        createKey(Hive::Machine, kKey, kKeyAllAccess, key.key);
        const auto text = textToValueData(L"C:\\Program Files\\Gantrix\\Bin", true);
        setValue(key.key, L"BinPath", kRegSz, text.data(), static_cast<unsigned long>(text.size()));
        const unsigned int language = 1031;
        setValue(key.key, L"Language", kRegDword, &language, sizeof language);
        KelRegistry::setRegValueCurrentUser(kKey, L"DataPath", KelString(L"D:\\Data"));
    }
    ~Workspace() {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
    fs::path dir;
};

Workspace& workspace() {
    static Workspace instance;
    return instance;
}

// The reference: one table, one prepared statement, one open connection.
struct PlainSqlite {
    PlainSqlite() {
        sqlite3_open((workspace().dir / "plain.db").c_str(), &db);
        sqlite3_exec(
            db,
            "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
            "CREATE TABLE IF NOT EXISTS vals(name TEXT PRIMARY KEY, data BLOB);"
            "INSERT OR REPLACE INTO vals VALUES('BinPath', 'C:\\Program Files\\Gantrix\\Bin');",
            nullptr, nullptr, nullptr);
        sqlite3_prepare_v2(db, "SELECT data FROM vals WHERE name = ?1", -1, &select, nullptr);
        sqlite3_prepare_v2(db, "INSERT OR REPLACE INTO vals VALUES(?1, ?2)", -1, &insert, nullptr);
    }
    ~PlainSqlite() {
        sqlite3_finalize(select);
        sqlite3_finalize(insert);
        sqlite3_close(db);
    }
    sqlite3* db = nullptr;
    sqlite3_stmt* select = nullptr;
    sqlite3_stmt* insert = nullptr;
};

// ----- reads ------------------------------------------------------------------------

void KelRegistry_GetRegValueText(benchmark::State& state) {
    workspace();
    KelString value;
    for (auto _ : state) {
        benchmark::DoNotOptimize(KelRegistry::getRegValue(kKey, L"BinPath", value, 0, false));
    }
    if (value != KelString(L"C:\\Program Files\\Gantrix\\Bin"))
        state.SkipWithError("wrong value");
}
BENCHMARK(KelRegistry_GetRegValueText)->Name("GetRegValueText/kel");

void KelRegistry_GetRegValueNumber(benchmark::State& state) {
    workspace();
    unsigned long value = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(KelRegistry::getRegValue(kKey, L"Language", value, 0, false));
    }
    if (value != 1031)
        state.SkipWithError("wrong value");
}
BENCHMARK(KelRegistry_GetRegValueNumber)->Name("GetRegValueNumber/kel");

void KelRegistry_GetPathData(benchmark::State& state) {
    workspace();
    for (auto _ : state) {
        KelString path = KelRegistry::getPathData(false);
        benchmark::DoNotOptimize(path);
    }
}
BENCHMARK(KelRegistry_GetPathData)->Name("GetPathData/kel");

void Sqlite_PointQuery(benchmark::State& state) {
    PlainSqlite plain;
    sqlite3_bind_text(plain.select, 1, "BinPath", -1, SQLITE_STATIC);
    for (auto _ : state) {
        if (sqlite3_step(plain.select) == SQLITE_ROW)
            benchmark::DoNotOptimize(sqlite3_column_blob(plain.select, 0));
        sqlite3_reset(plain.select);
    }
    state.SetLabel("SQLite point query");
}
// The reference of both reads.
BENCHMARK(Sqlite_PointQuery)->Name("GetRegValueText/reference");
BENCHMARK(Sqlite_PointQuery)->Name("GetRegValueNumber/reference");

// ----- durable writes -----------------------------------------------------------------

void KelRegistry_SetRegValueCurrentUserText(benchmark::State& state) {
    workspace();
    long i = 0;
    for (auto _ : state) {
        const KelString value(std::to_wstring(++i).c_str());
        if (KelRegistry::setRegValueCurrentUser(kKey, L"Counter", value) != 1)
            state.SkipWithError("write failed");
    }
}
BENCHMARK(KelRegistry_SetRegValueCurrentUserText)
    ->Name("SetRegValueCurrentUserText/kel")
    ->Unit(benchmark::kMicrosecond);

void KelRegistry_SetRegValueCurrentUserNumber(benchmark::State& state) {
    workspace();
    int i = 0;
    for (auto _ : state) {
        ++i;
        if (KelRegistry::setRegValueCurrentUser(kKey, L"Number", i) != 1)
            state.SkipWithError("write failed");
    }
}
BENCHMARK(KelRegistry_SetRegValueCurrentUserNumber)
    ->Name("SetRegValueCurrentUserNumber/kel")
    ->Unit(benchmark::kMicrosecond);

void Sqlite_DurableWrite(benchmark::State& state) {
    PlainSqlite plain;
    long i = 0;
    for (auto _ : state) {
        const std::string value = std::to_string(++i);
        sqlite3_bind_text(plain.insert, 1, "Counter", -1, SQLITE_STATIC);
        sqlite3_bind_text(plain.insert, 2, value.c_str(), -1, SQLITE_TRANSIENT);
        if (sqlite3_step(plain.insert) != SQLITE_DONE)
            state.SkipWithError("write failed");
        sqlite3_reset(plain.insert);
    }
    state.SetLabel("SQLite durable write");
}
// The reference of both writes.
BENCHMARK(Sqlite_DurableWrite)
    ->Name("SetRegValueCurrentUserText/reference")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Sqlite_DurableWrite)
    ->Name("SetRegValueCurrentUserNumber/reference")
    ->Unit(benchmark::kMicrosecond);

void DurableWrite_KelAndSqliteInTurn(benchmark::State& state) {
    workspace();
    PlainSqlite plain;
    using Clock = std::chrono::steady_clock;
    Clock::duration kelTime{};
    Clock::duration plainTime{};
    long i = 0;
    bool failed = false;
    auto kelWrite = [&] {
        const Clock::time_point start = Clock::now();
        const KelString value(std::to_wstring(i).c_str());
        failed |= KelRegistry::setRegValueCurrentUser(kKey, L"InTurn", value) != 1;
        kelTime += Clock::now() - start;
    };
    auto plainWrite = [&] {
        const Clock::time_point start = Clock::now();
        const std::string value = std::to_string(i);
        sqlite3_bind_text(plain.insert, 1, "InTurn", -1, SQLITE_STATIC);
        sqlite3_bind_text(plain.insert, 2, value.c_str(), -1, SQLITE_TRANSIENT);
        failed |= sqlite3_step(plain.insert) != SQLITE_DONE;
        sqlite3_reset(plain.insert);
        plainTime += Clock::now() - start;
    };
    for (auto _ : state) {
        const Clock::duration before = kelTime + plainTime;
        // Each goes first every other time.
        if (++i % 2 == 0) {
            kelWrite();
            plainWrite();
        } else {
            plainWrite();
            kelWrite();
        }
        state.SetIterationTime(std::chrono::duration<double>(kelTime + plainTime - before).count());
    }
    if (failed)
        state.SkipWithError("write failed");
    const double count = static_cast<double>(state.iterations());
    const double kelUs = std::chrono::duration<double, std::micro>(kelTime).count() / count;
    const double plainUs = std::chrono::duration<double, std::micro>(plainTime).count() / count;
    state.counters["kel_us"] = kelUs;
    state.counters["reference_us"] = plainUs;
    state.counters["ratio"] = kelUs / plainUs;
    state.SetLabel("SQLite durable write");
}
BENCHMARK(DurableWrite_KelAndSqliteInTurn)
    ->Name("DurableWriteInTurn/kel_and_reference")
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
