// A helper process for the multi-process tests of the configuration store:
// writes `count` text values "<prefix><i>" = "value-<i>" to one key of the
// user hive in `registryDir`, one durable write each.
//
//   hive_writer <registryDir> <key> <prefix> <count> [--report]
//
// With --report it prints the number of each value on its own line once the
// write has returned success, so that a test can tell what was committed
// before it killed the process. Exits 0 when every write succeeded.

#include <kel/Kel.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#if defined(_WIN32)
#include <stdlib.h>
#endif

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr,
                     "usage: hive_writer <registryDir> <key> <prefix> <count> [--report]\n");
        return 2;
    }
#if defined(_WIN32)
    _putenv_s("KEL_REGISTRY_DIR", argv[1]);
#else
    setenv("KEL_REGISTRY_DIR", argv[1], 1);
#endif
    const KelString key(argv[2]);
    const std::string prefix = argv[3];
    const long count = std::atol(argv[4]);
    const bool report = argc > 5 && std::strcmp(argv[5], "--report") == 0;
    for (long i = 0; i < count; ++i) {
        const std::string name = prefix + std::to_string(i);
        const std::string value = "value-" + std::to_string(i);
        if (KelRegistry::setRegValueCurrentUser(key, name.c_str(), KelString(value.c_str())) != 1) {
            std::fprintf(stderr, "hive_writer: writing %s failed\n", name.c_str());
            return 1;
        }
        if (report) {
            std::printf("%ld\n", i);
            std::fflush(stdout);
        }
    }
    return 0;
}
