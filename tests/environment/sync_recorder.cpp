#include "sync_recorder.h"

#include <sqlite3.h>

#include <atomic>
#include <mutex>

namespace kel::test {

namespace {

enum class Kind { Other, Database, Log };

std::atomic<long> g_databaseWrites{0};
std::atomic<long> g_databaseSyncs{0};
std::atomic<long> g_logWrites{0};
std::atomic<long> g_logSyncs{0};
std::atomic<int> g_unsyncedLogs{0};

sqlite3_vfs* g_system = nullptr;
sqlite3_vfs g_recorder;

// The recorder's file: its own header, then the system VFS's file.
struct RecordedFile {
    sqlite3_file base;
    sqlite3_file* real;
    Kind kind;
    bool unsynced;
};

sqlite3_file* real(sqlite3_file* file) {
    return reinterpret_cast<RecordedFile*>(file)->real;
}

int recordedClose(sqlite3_file* file) {
    // Data still unsynchronised when its file closes stays counted.
    return real(file)->pMethods->xClose(real(file));
}

int recordedRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
    return real(file)->pMethods->xRead(real(file), buffer, amount, offset);
}

int recordedWrite(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
    auto* recorded = reinterpret_cast<RecordedFile*>(file);
    if (recorded->kind == Kind::Database)
        ++g_databaseWrites;
    if (recorded->kind == Kind::Log) {
        ++g_logWrites;
        if (!recorded->unsynced) {
            recorded->unsynced = true;
            ++g_unsyncedLogs;
        }
    }
    return real(file)->pMethods->xWrite(real(file), buffer, amount, offset);
}

int recordedTruncate(sqlite3_file* file, sqlite3_int64 size) {
    return real(file)->pMethods->xTruncate(real(file), size);
}

int recordedSync(sqlite3_file* file, int flags) {
    auto* recorded = reinterpret_cast<RecordedFile*>(file);
    const int rc = real(file)->pMethods->xSync(real(file), flags);
    if (rc == SQLITE_OK && recorded->kind != Kind::Other) {
        ++(recorded->kind == Kind::Database ? g_databaseSyncs : g_logSyncs);
        if (recorded->unsynced) {
            recorded->unsynced = false;
            --g_unsyncedLogs;
        }
    }
    return rc;
}

int recordedFileSize(sqlite3_file* file, sqlite3_int64* size) {
    return real(file)->pMethods->xFileSize(real(file), size);
}

int recordedLock(sqlite3_file* file, int level) {
    return real(file)->pMethods->xLock(real(file), level);
}

int recordedUnlock(sqlite3_file* file, int level) {
    return real(file)->pMethods->xUnlock(real(file), level);
}

int recordedCheckReservedLock(sqlite3_file* file, int* result) {
    return real(file)->pMethods->xCheckReservedLock(real(file), result);
}

int recordedFileControl(sqlite3_file* file, int op, void* argument) {
    return real(file)->pMethods->xFileControl(real(file), op, argument);
}

int recordedSectorSize(sqlite3_file* file) {
    return real(file)->pMethods->xSectorSize(real(file));
}

int recordedDeviceCharacteristics(sqlite3_file* file) {
    return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

int recordedShmMap(sqlite3_file* file, int region, int size, int extend, void volatile** map) {
    return real(file)->pMethods->xShmMap(real(file), region, size, extend, map);
}

int recordedShmLock(sqlite3_file* file, int offset, int count, int flags) {
    return real(file)->pMethods->xShmLock(real(file), offset, count, flags);
}

void recordedShmBarrier(sqlite3_file* file) {
    real(file)->pMethods->xShmBarrier(real(file));
}

int recordedShmUnmap(sqlite3_file* file, int deleteFlag) {
    return real(file)->pMethods->xShmUnmap(real(file), deleteFlag);
}

int recordedFetch(sqlite3_file* file, sqlite3_int64 offset, int amount, void** pointer) {
    return real(file)->pMethods->xFetch(real(file), offset, amount, pointer);
}

int recordedUnfetch(sqlite3_file* file, sqlite3_int64 offset, void* pointer) {
    return real(file)->pMethods->xUnfetch(real(file), offset, pointer);
}

const sqlite3_io_methods kRecordedMethods = {
    3,
    recordedClose,
    recordedRead,
    recordedWrite,
    recordedTruncate,
    recordedSync,
    recordedFileSize,
    recordedLock,
    recordedUnlock,
    recordedCheckReservedLock,
    recordedFileControl,
    recordedSectorSize,
    recordedDeviceCharacteristics,
    recordedShmMap,
    recordedShmLock,
    recordedShmBarrier,
    recordedShmUnmap,
    recordedFetch,
    recordedUnfetch,
};

Kind kindOf(int flags) {
    if ((flags & SQLITE_OPEN_MAIN_DB) != 0)
        return Kind::Database;
    if ((flags & (SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL)) != 0)
        return Kind::Log;
    return Kind::Other;
}

int recordedOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags,
                 int* outFlags) {
    auto* recorded = reinterpret_cast<RecordedFile*>(file);
    recorded->base.pMethods = nullptr;
    recorded->real = reinterpret_cast<sqlite3_file*>(recorded + 1);
    recorded->kind = kindOf(flags);
    recorded->unsynced = false;
    const int rc = g_system->xOpen(g_system, name, recorded->real, flags, outFlags);
    if (recorded->real->pMethods != nullptr)
        recorded->base.pMethods = &kRecordedMethods;
    return rc;
}

int recordedDelete(sqlite3_vfs*, const char* name, int syncDir) {
    return g_system->xDelete(g_system, name, syncDir);
}

int recordedAccess(sqlite3_vfs*, const char* name, int flags, int* result) {
    return g_system->xAccess(g_system, name, flags, result);
}

int recordedFullPathname(sqlite3_vfs*, const char* name, int size, char* out) {
    return g_system->xFullPathname(g_system, name, size, out);
}

void* recordedDlOpen(sqlite3_vfs*, const char* name) {
    return g_system->xDlOpen(g_system, name);
}

void recordedDlError(sqlite3_vfs*, int size, char* message) {
    g_system->xDlError(g_system, size, message);
}

void (*recordedDlSym(sqlite3_vfs*, void* library, const char* symbol))(void) {
    return g_system->xDlSym(g_system, library, symbol);
}

void recordedDlClose(sqlite3_vfs*, void* library) {
    g_system->xDlClose(g_system, library);
}

int recordedRandomness(sqlite3_vfs*, int size, char* out) {
    return g_system->xRandomness(g_system, size, out);
}

int recordedSleep(sqlite3_vfs*, int microseconds) {
    return g_system->xSleep(g_system, microseconds);
}

int recordedCurrentTime(sqlite3_vfs*, double* now) {
    return g_system->xCurrentTime(g_system, now);
}

int recordedGetLastError(sqlite3_vfs*, int size, char* message) {
    return g_system->xGetLastError(g_system, size, message);
}

int recordedCurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* now) {
    return g_system->xCurrentTimeInt64(g_system, now);
}

}  // namespace

void installSyncRecorder() {
    static std::once_flag once;
    std::call_once(once, [] {
        g_system = sqlite3_vfs_find(nullptr);
        g_recorder = sqlite3_vfs{};
        g_recorder.iVersion = 2;
        g_recorder.szOsFile = static_cast<int>(sizeof(RecordedFile)) + g_system->szOsFile;
        g_recorder.mxPathname = g_system->mxPathname;
        g_recorder.zName = "kel-sync-recorder";
        g_recorder.xOpen = recordedOpen;
        g_recorder.xDelete = recordedDelete;
        g_recorder.xAccess = recordedAccess;
        g_recorder.xFullPathname = recordedFullPathname;
        g_recorder.xDlOpen = recordedDlOpen;
        g_recorder.xDlError = recordedDlError;
        g_recorder.xDlSym = recordedDlSym;
        g_recorder.xDlClose = recordedDlClose;
        g_recorder.xRandomness = recordedRandomness;
        g_recorder.xSleep = recordedSleep;
        g_recorder.xCurrentTime = recordedCurrentTime;
        g_recorder.xGetLastError = recordedGetLastError;
        g_recorder.xCurrentTimeInt64 = recordedCurrentTimeInt64;
        sqlite3_vfs_register(&g_recorder, 1);
    });
}

SyncCounts syncCounts() {
    SyncCounts counts;
    counts.databaseWrites = g_databaseWrites.load();
    counts.databaseSyncs = g_databaseSyncs.load();
    counts.logWrites = g_logWrites.load();
    counts.logSyncs = g_logSyncs.load();
    return counts;
}

int unsyncedLogs() {
    return g_unsyncedLogs.load();
}

}  // namespace kel::test
