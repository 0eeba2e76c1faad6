// A helper process for the multi-process tests of the configuration store:
// writes `count` text values "<prefix><i>" = "value-<i>" to one key of the
// user hive in `registryDir`, one durable write each, through the public
// interface.
//
//   hive_writer <registryDir> <key> <prefix> <count> [--report] [--check-durable] [--read]
//
// --report          prints the number of each value on its own line once
//                   its write has returned success, so that a test can tell
//                   what was committed before it killed the process.
// --check-durable   records SQLite's writes and synchronisations; after
//                   each write that returned success, nothing written may
//                   be left unsynchronised. Prints one line at the end:
//                   "writes <n> unsynced <n> logSyncs <n> databaseSyncs <n>",
//                   and exits 3 if a write returned before its data was on
//                   disk.
// --read            reads the values instead of writing them (a value not
//                   there yet is no error).
//
// Exits 0 when every write succeeded.

#include <kel/Kel.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "sync_recorder.h"

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr,
                     "usage: hive_writer <registryDir> <key> <prefix> <count> [--report] "
                     "[--check-durable] [--read]\n");
        return 2;
    }
    setenv("KEL_REGISTRY_DIR", argv[1], 1);
    const KelString key(argv[2]);
    const std::string prefix = argv[3];
    const long count = std::atol(argv[4]);
    bool report = false;
    bool checkDurable = false;
    bool read = false;
    for (int i = 5; i < argc; ++i) {
        report = report || std::strcmp(argv[i], "--report") == 0;
        checkDurable = checkDurable || std::strcmp(argv[i], "--check-durable") == 0;
        read = read || std::strcmp(argv[i], "--read") == 0;
    }
    if (checkDurable)
        kel::test::installSyncRecorder();
    long unsynced = 0;
    for (long i = 0; i < count; ++i) {
        const std::string name = prefix + std::to_string(i);
        if (read) {
            KelString value;
            KelRegistry::getRegValueCurrentUser(key, name.c_str(), value, 0);
            continue;
        }
        const std::string value = "value-" + std::to_string(i);
        if (KelRegistry::setRegValueCurrentUser(key, name.c_str(), KelString(value.c_str())) != 1) {
            std::fprintf(stderr, "hive_writer: writing %s failed\n", name.c_str());
            return 1;
        }
        if (checkDurable && kel::test::unsyncedLogs() != 0)
            ++unsynced;
        if (report) {
            std::printf("%ld\n", i);
            std::fflush(stdout);
        }
    }
    if (checkDurable) {
        const kel::test::SyncCounts counts = kel::test::syncCounts();
        std::printf("writes %ld unsynced %ld logSyncs %ld databaseSyncs %ld\n", read ? 0 : count,
                    unsynced, counts.logSyncs, counts.databaseSyncs);
        std::fflush(stdout);
    }
    return unsynced == 0 ? 0 : 3;
}
