// Records what SQLite writes and synchronises, for the durability tests of
// the configuration store: a VFS that passes every call to the system's own
// and counts, per kind of file, the writes and the synchronisations, and
// which logs hold data written since their last synchronisation.
//
// Installed as SQLite's default VFS, so that every connection opened
// afterwards (the library's included, as they share the process's SQLite)
// goes through it.
//
//   kel::test::installSyncRecorder();
//   const kel::test::SyncCounts before = kel::test::syncCounts();
//   ... one durable write ...
//   EXPECT_EQ(kel::test::syncCounts().logSyncs - before.logSyncs, 1);
//   EXPECT_EQ(kel::test::unsyncedLogs(), 0);

#ifndef KEL_TESTS_ENVIRONMENT_SYNC_RECORDER_H
#define KEL_TESTS_ENVIRONMENT_SYNC_RECORDER_H

namespace kel::test {

struct SyncCounts {
    long databaseWrites = 0;  // writes to database files
    long databaseSyncs = 0;
    long logWrites = 0;  // writes to write-ahead logs (and rollback journals)
    long logSyncs = 0;
};

// Installs the recorder as the default VFS; later calls do nothing.
void installSyncRecorder();

// The counts since installation, over every connection of the process.
SyncCounts syncCounts();

// The number of logs, open or closed, that hold writes not synchronised
// since (a log closed that way counts for good). A committed transaction is
// durable once its log is synchronised. Database files may hold pages
// copied from the log without a synchronisation (a checkpoint that stopped
// short of the log's end, because another connection still reads it): the
// log keeps those pages, and SQLite synchronises the database file before
// it starts the log afresh.
int unsyncedLogs();

}  // namespace kel::test

#endif  // KEL_TESTS_ENVIRONMENT_SYNC_RECORDER_H
