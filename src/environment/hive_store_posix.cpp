// The configuration store on SQLite: one database file per hive.
//
// A hive file holds two tables: keys (each with its parent, its name as
// created and its folded full path, which is unique) and vals (per key and
// folded name: the name as created, the type and the data). The file is
// marked with its own application id, so that a foreign database is
// recognised and never written to.
//
// Connections stay open for the process, one per hive file, found by the
// file's path: a change of KEL_REGISTRY_DIR (or of HOME) reaches other
// files. Before each use the file is looked at again; when it is no longer
// the file that was opened (replaced, rewritten by something other than
// SQLite, removed), the connection is dropped and a new one opened.
//
// Every change is one IMMEDIATE transaction in write-ahead-log mode, so
// concurrent processes wait for each other (busy timeout) instead of
// failing. After each commit the log is synchronised, copied back into the
// database file, which is synchronised too, and emptied: a committed change
// survives a crash, and at rest the database file alone holds every
// committed value (it may be copied on its own) with no old log beside it. The
// empty log files are kept rather than deleted, so that processes that may
// only read a hive in a directory they cannot write can still open it.

#include <sqlite3.h>

#include <fcntl.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>

#include "environment/hive_store.h"
#include "environment/key_name.h"
#include "platform/utf.h"

namespace kel::detail {

namespace {

constexpr int kApplicationId = 0x4B656C52;  // "KelR"
constexpr int kSchemaVersion = 1;
constexpr sqlite3_int64 kRootId = 1;
// Long enough for any other writer to finish; a writer holds the lock for
// one value or one key.
constexpr auto kBusyTimeout = std::chrono::seconds(30);

constexpr unsigned long kErrorDiskFull = 112;
constexpr unsigned long kErrorBusy = 170;
constexpr unsigned long kErrorRegistryIoFailed = 1016;

const char kSchemaSql[] =
    "CREATE TABLE keys("
    " id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " parent INTEGER NOT NULL,"
    " name TEXT NOT NULL,"
    " path TEXT NOT NULL UNIQUE);"
    "CREATE INDEX keys_by_parent ON keys(parent, path);"
    "CREATE TABLE vals("
    " key INTEGER NOT NULL,"
    " fold TEXT NOT NULL,"
    " name TEXT NOT NULL,"
    " type INTEGER NOT NULL,"
    " data BLOB NOT NULL,"
    " UNIQUE(key, fold));"
    "INSERT INTO keys(id, parent, name, path) VALUES(1, 0, '', '');";

enum StatementId {
    kFindKey,
    kReadValue,
    kQueryValue,
    kKeyExists,
    kInsertKey,
    kSetValue,
    kDeleteValue,
    kDeleteTreeValues,
    kDeleteTreeKeys,
    kSubKeys,
    kValues,
    kBegin,
    kCommit,
    kRollback,
    kStatementCount
};

const char* const kStatementSql[kStatementCount] = {
    "SELECT id FROM keys WHERE path = ?1",
    "SELECT k.id, v.type, v.data FROM keys k"
    " LEFT JOIN vals v ON v.key = k.id AND v.fold = ?2 WHERE k.path = ?1",
    "SELECT type, data FROM vals WHERE key = ?1 AND fold = ?2",
    "SELECT 1 FROM keys WHERE id = ?1",
    "INSERT INTO keys(parent, name, path) VALUES(?1, ?2, ?3)",
    "INSERT INTO vals(key, fold, name, type, data) VALUES(?1, ?2, ?3, ?4, ?5)"
    " ON CONFLICT(key, fold) DO UPDATE SET type = excluded.type, data = excluded.data",
    "DELETE FROM vals WHERE key = ?1 AND fold = ?2",
    "DELETE FROM vals WHERE key IN"
    " (SELECT id FROM keys WHERE path = ?1 OR (path >= ?2 AND path < ?3))",
    "DELETE FROM keys WHERE path = ?1 OR (path >= ?2 AND path < ?3)",
    "SELECT name FROM keys WHERE parent = ?1 ORDER BY path",
    "SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY rowid",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};

unsigned long statusOf(int rc) {
    switch (rc & 0xFF) {
        case SQLITE_OK:
        case SQLITE_ROW:
        case SQLITE_DONE:
            return kErrorSuccess;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return kErrorBusy;
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return kErrorAccessDenied;
        case SQLITE_ERROR:
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_SCHEMA:
        case SQLITE_FORMAT:
            return kErrorBadDb;
        case SQLITE_FULL:
            return kErrorDiskFull;
        case SQLITE_NOMEM:
            return kErrorNotEnoughMemory;
        case SQLITE_TOOBIG:
            return kErrorInvalidParameter;
        default:
            return kErrorRegistryIoFailed;
    }
}

// ----- where the hive files are -------------------------------------------------

const char* hiveFileName(Hive hive) {
    switch (hive) {
        case Hive::Machine:
            return "machine.db";
        case Hive::User:
            return "user.db";
        case Hive::Classes:
            return "classes.db";
    }
    return "user.db";
}

std::string userConfigDirectory() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg != nullptr && xdg[0] == '/')
        return xdg;
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0')
        return std::string(home) + "/.config";
    struct passwd entry;
    struct passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr)
        return std::string(found->pw_dir) + "/.config";
    return "/tmp";
}

std::string hiveDirectory(Hive hive) {
    const char* dir = std::getenv("KEL_REGISTRY_DIR");
    if (dir != nullptr && dir[0] != '\0')
        return dir;
    if (hive == Hive::User)
        return userConfigDirectory() + "/kel/registry";
    return "/etc/kel/registry";
}

// Creates `dir` and its missing parents.
bool makeDirectories(const std::string& dir, mode_t mode) {
    struct stat st;
    if (dir.empty() || ::stat(dir.c_str(), &st) == 0)
        return !dir.empty() && S_ISDIR(st.st_mode);
    const size_t slash = dir.find_last_of('/');
    if (slash != std::string::npos && slash > 0 && !makeDirectories(dir.substr(0, slash), mode))
        return false;
    return ::mkdir(dir.c_str(), mode) == 0 || errno == EEXIST;
}

// A hive file may be changed when it and its directory are writable for
// this process and the file has at least one write permission bit: a file
// without any is read-only even for the superuser, so that an administrator
// can freeze a hive with "chmod a-w".
bool isWritable(const std::string& path, const std::string& dir, const struct stat* st) {
    if (st != nullptr &&
        ((st->st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.c_str(), W_OK) != 0))
        return false;
    return ::access(dir.c_str(), W_OK) == 0;
}

// What tells one state of a file from another.
struct FileState {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    long long modifiedNs = 0;

    static FileState of(const struct stat& st) {
        return {st.st_dev, st.st_ino, st.st_size,
                static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec};
    }
    bool operator==(const FileState& o) const {
        return device == o.device && inode == o.inode && size == o.size &&
               modifiedNs == o.modifiedNs;
    }
    bool operator!=(const FileState& o) const { return !(*this == o); }
};

std::string uriEscape(const std::string& path) {
    static const char hex[] = "0123456789ABCDEF";
    std::string uri = "file:";
    for (unsigned char c : path) {
        if (std::isalnum(c) || std::strchr("/-._~", c) != nullptr) {
            uri += static_cast<char>(c);
        } else {
            uri += '%';
            uri += hex[c >> 4];
            uri += hex[c & 15];
        }
    }
    return uri;
}

// ----- one hive file --------------------------------------------------------------

class HiveFile;

// A cached statement in use: reset and unbound when the scope ends.
class Query {
public:
    explicit Query(sqlite3_stmt* statement) : m_statement(statement) {}
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    ~Query() {
        if (m_statement != nullptr) {
            sqlite3_reset(m_statement);
            sqlite3_clear_bindings(m_statement);
        }
    }

    bool valid() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }

    void bind(int index, sqlite3_int64 value) { sqlite3_bind_int64(m_statement, index, value); }
    void bind(int index, const std::string& text) {
        sqlite3_bind_text(m_statement, index, text.data(), static_cast<int>(text.size()),
                          SQLITE_TRANSIENT);
    }
    void bindBlob(int index, const void* data, unsigned long size) {
        // A zero-length blob must not be bound as null: the column is NOT NULL.
        static const unsigned char nothing = 0;
        sqlite3_bind_blob64(m_statement, index, size > 0 ? data : &nothing, size, SQLITE_TRANSIENT);
    }
    // SQLITE_ROW, SQLITE_DONE or an error.
    int step() { return sqlite3_step(m_statement); }

private:
    sqlite3_stmt* m_statement;
};

// Copies a value's type and data out as RegQueryValueExW does.
unsigned long copyValue(sqlite3_stmt* row, int typeColumn, int dataColumn, unsigned long* type,
                        void* data, unsigned long* size) {
    if (data != nullptr && size == nullptr)
        return kErrorInvalidParameter;
    if (type != nullptr)
        *type = static_cast<unsigned long>(sqlite3_column_int64(row, typeColumn));
    const void* blob = sqlite3_column_blob(row, dataColumn);
    const unsigned long length = static_cast<unsigned long>(sqlite3_column_bytes(row, dataColumn));
    if (size == nullptr)
        return kErrorSuccess;
    const unsigned long capacity = *size;
    *size = length;
    if (data == nullptr)
        return kErrorSuccess;
    if (length > capacity)
        return kErrorMoreData;
    if (length > 0)
        std::memcpy(data, blob, length);
    return kErrorSuccess;
}

class HiveFile {
public:
    explicit HiveFile(std::string path) : m_path(std::move(path)) {}
    HiveFile(const HiveFile&) = delete;
    HiveFile& operator=(const HiveFile&) = delete;

    ~HiveFile() {
        if (m_abandoned)
            return;
        for (sqlite3_stmt* statement : m_statements)
            sqlite3_finalize(statement);
        sqlite3_close_v2(m_db);
    }

    const std::string& path() const { return m_path; }
    bool writable() const { return m_writable; }

    // After fork: the connection belongs to the parent; it is left alone
    // (not even closed), and using it fails.
    void abandon() { m_abandoned = true; }
    bool abandoned() const { return m_abandoned; }

    // Serialises every use of the connection and its statements.
    std::mutex mutex;

    unsigned long open(bool writable) {
        m_writable = writable;
        const int flags =
            writable ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY;
        unsigned long status = connect(m_path, flags | SQLITE_OPEN_NOMUTEX);
        if (status == kErrorSuccess)
            status = inspect();
        if (status == kErrorAccessDenied && !writable) {
            // A read-only hive in a directory where the log files cannot be
            // created: read the file as it stands.
            status = connect(uriEscape(m_path) + "?immutable=1",
                             flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI);
            if (status == kErrorSuccess)
                status = inspect();
        }
        if (status != kErrorSuccess)
            return status;
        if (m_fresh)
            return writable ? initialise() : kErrorSuccess;
        return writable ? configureForWriting() : kErrorSuccess;
    }

    unsigned long findKey(const std::string& path, sqlite3_int64& id) {
        if (m_fresh) {
            id = kRootId;
            return path.empty() ? kErrorSuccess : kErrorFileNotFound;
        }
        Query query(statement(kFindKey));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, path);
        const int rc = query.step();
        if (rc != SQLITE_ROW)
            return rc == SQLITE_DONE ? kErrorFileNotFound : statusOf(rc);
        id = sqlite3_column_int64(query.get(), 0);
        return kErrorSuccess;
    }

    unsigned long readValue(const std::string& path, const std::string& name, unsigned long* type,
                            void* data, unsigned long* size, bool& keyFound) {
        keyFound = false;
        if (m_fresh) {
            keyFound = path.empty();
            return kErrorFileNotFound;
        }
        Query query(statement(kReadValue));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, path);
        query.bind(2, name);
        const int rc = query.step();
        if (rc != SQLITE_ROW)
            return rc == SQLITE_DONE ? kErrorFileNotFound : statusOf(rc);
        keyFound = true;
        if (sqlite3_column_type(query.get(), 1) == SQLITE_NULL)
            return kErrorFileNotFound;
        return copyValue(query.get(), 1, 2, type, data, size);
    }

    unsigned long queryValue(sqlite3_int64 key, const std::string& name, unsigned long* type,
                             void* data, unsigned long* size) {
        if (m_fresh)
            return kErrorFileNotFound;
        Query query(statement(kQueryValue));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, key);
        query.bind(2, name);
        const int rc = query.step();
        if (rc == SQLITE_ROW)
            return copyValue(query.get(), 0, 1, type, data, size);
        if (rc != SQLITE_DONE)
            return statusOf(rc);
        return keyExists(key) ? kErrorFileNotFound : kErrorKeyDeleted;
    }

    // Creates the key `names` (with its missing parents) in one transaction.
    unsigned long createKey(const std::vector<std::wstring>& names, sqlite3_int64& id,
                            bool& created) {
        created = false;
        Transaction transaction(*this);
        unsigned long status = transaction.begin();
        id = kRootId;
        std::string path;
        for (size_t i = 0; status == kErrorSuccess && i < names.size(); ++i) {
            const std::string folded = wideToUtf8(foldName(names[i]));
            path += path.empty() ? folded : "\\" + folded;
            sqlite3_int64 child = 0;
            status = findKey(path, child);
            if (status == kErrorFileNotFound) {
                status = insertKey(id, wideToUtf8(names[i]), path, child);
                created = status == kErrorSuccess;
            } else {
                created = false;
            }
            id = child;
        }
        return status == kErrorSuccess ? transaction.commit() : status;
    }

    unsigned long setValue(sqlite3_int64 key, std::wstring_view name, unsigned long type,
                           const void* data, unsigned long size) {
        Transaction transaction(*this);
        unsigned long status = transaction.begin();
        if (status != kErrorSuccess)
            return status;
        if (!keyExists(key))
            return kErrorKeyDeleted;
        Query query(statement(kSetValue));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, key);
        query.bind(2, wideToUtf8(foldName(name)));
        query.bind(3, wideToUtf8(name));
        query.bind(4, static_cast<sqlite3_int64>(type));
        query.bindBlob(5, data, size);
        const int rc = query.step();
        if (rc != SQLITE_DONE)
            return statusOf(rc);
        return transaction.commit();
    }

    unsigned long deleteValue(sqlite3_int64 key, const std::string& name) {
        Transaction transaction(*this);
        unsigned long status = transaction.begin();
        if (status != kErrorSuccess)
            return status;
        Query query(statement(kDeleteValue));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, key);
        query.bind(2, name);
        const int rc = query.step();
        if (rc != SQLITE_DONE)
            return statusOf(rc);
        if (sqlite3_changes(m_db) == 0)
            return keyExists(key) ? kErrorFileNotFound : kErrorKeyDeleted;
        return transaction.commit();
    }

    unsigned long deleteTree(const std::string& path) {
        Transaction transaction(*this);
        unsigned long status = transaction.begin();
        sqlite3_int64 id = 0;
        if (status == kErrorSuccess)
            status = findKey(path, id);
        if (status == kErrorSuccess)
            status = deleteRange(kDeleteTreeValues, path);
        if (status == kErrorSuccess)
            status = deleteRange(kDeleteTreeKeys, path);
        return status == kErrorSuccess ? transaction.commit() : status;
    }

    unsigned long subKeys(sqlite3_int64 key, std::vector<std::wstring>& names) {
        names.clear();
        if (m_fresh)
            return kErrorSuccess;
        Query query(statement(kSubKeys));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, key);
        int rc;
        while ((rc = query.step()) == SQLITE_ROW)
            names.push_back(columnText(query.get(), 0));
        return statusOf(rc);
    }

    unsigned long values(sqlite3_int64 key, std::vector<HiveValue>& values) {
        values.clear();
        if (m_fresh)
            return kErrorSuccess;
        Query query(statement(kValues));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, key);
        int rc;
        while ((rc = query.step()) == SQLITE_ROW) {
            HiveValue value;
            value.name = columnText(query.get(), 0);
            value.type = static_cast<unsigned long>(sqlite3_column_int64(query.get(), 1));
            const auto* blob =
                static_cast<const unsigned char*>(sqlite3_column_blob(query.get(), 2));
            value.data.assign(blob, blob + sqlite3_column_bytes(query.get(), 2));
            values.push_back(std::move(value));
        }
        return statusOf(rc);
    }

private:
    // One write transaction; rolled back unless committed.
    class Transaction {
    public:
        explicit Transaction(HiveFile& file) : m_file(file) {}
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        ~Transaction() {
            if (m_open)
                m_file.run(kRollback);
        }
        unsigned long begin() {
            const unsigned long status = m_file.run(kBegin);
            m_open = status == kErrorSuccess;
            m_changesBefore = sqlite3_total_changes64(m_file.m_db);
            return status;
        }
        unsigned long commit() {
            const unsigned long status = m_file.run(kCommit);
            m_open = status != kErrorSuccess && !sqlite3_get_autocommit(m_file.m_db);
            if (status == kErrorSuccess && sqlite3_total_changes64(m_file.m_db) != m_changesBefore)
                m_file.emptyLog();
            return status;
        }

    private:
        HiveFile& m_file;
        bool m_open = false;
        sqlite3_int64 m_changesBefore = 0;
    };

    static std::wstring columnText(sqlite3_stmt* row, int column) {
        const char* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
        return utf8ToWide(std::string_view(text != nullptr ? text : "",
                                           static_cast<size_t>(sqlite3_column_bytes(row, column))));
    }

    unsigned long connect(const std::string& name, int flags) {
        closeConnection();
        const int rc = sqlite3_open_v2(name.c_str(), &m_db, flags, nullptr);
        if (rc != SQLITE_OK) {
            closeConnection();
            return (rc & 0xFF) == SQLITE_CANTOPEN ? kErrorAccessDenied : statusOf(rc);
        }
        sqlite3_extended_result_codes(m_db, 1);
        sqlite3_busy_handler(m_db, waitWhileBusy, this);
        return kErrorSuccess;
    }

    // Waits for another connection to let go of the file: briefly at first,
    // as a write holds it for about one disk synchronisation, then longer,
    // for at most kBusyTimeout. Returns 0 to give up.
    static int waitWhileBusy(void* context, int attempt) {
        auto* file = static_cast<HiveFile*>(context);
        const auto now = std::chrono::steady_clock::now();
        if (attempt == 0)
            file->m_busySince = now;
        if (file->m_noWaiting || now - file->m_busySince > kBusyTimeout)
            return 0;
        std::this_thread::sleep_for(std::chrono::microseconds(attempt < 20    ? 100
                                                              : attempt < 200 ? 500
                                                                              : 2000));
        return 1;
    }

    // Makes the commit just made durable: the log is synchronised, copied
    // into the database file, which is synchronised, and emptied. When
    // another connection is using the log right now, as much as can be is
    // copied without waiting (the log is synchronised all the same) and a
    // later commit empties it.
    void emptyLog() {
        m_noWaiting = true;
        if (sqlite3_wal_checkpoint_v2(m_db, "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) !=
            SQLITE_OK)
            sqlite3_wal_checkpoint_v2(m_db, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        m_noWaiting = false;
    }

    void closeConnection() {
        for (sqlite3_stmt*& statement : m_statements) {
            sqlite3_finalize(statement);
            statement = nullptr;
        }
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }

    // One integer from a statement; the result code of the attempt.
    int readInteger(const char* sql, long long& value) {
        sqlite3_stmt* statement = nullptr;
        int rc = sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr);
        if (rc == SQLITE_OK) {
            rc = sqlite3_step(statement);
            if (rc == SQLITE_ROW) {
                value = sqlite3_column_int64(statement, 0);
                rc = SQLITE_OK;
            }
        }
        sqlite3_finalize(statement);
        return rc;
    }

    // Tells a hive of ours from a fresh file and from anything else. Reads
    // only: a foreign or damaged file is never written to.
    unsigned long inspect() {
        long long applicationId = 0;
        long long version = 0;
        long long objects = 0;
        int rc = readInteger("PRAGMA application_id", applicationId);
        if (rc == SQLITE_OK)
            rc = readInteger("PRAGMA user_version", version);
        if (rc == SQLITE_OK)
            rc = readInteger("SELECT count(*) FROM sqlite_master", objects);
        if (rc != SQLITE_OK) {
            const int primary = rc & 0xFF;
            return primary == SQLITE_CANTOPEN || primary == SQLITE_READONLY ? kErrorAccessDenied
                                                                            : kErrorBadDb;
        }
        m_fresh = applicationId == 0 && version == 0 && objects == 0;
        if (m_fresh)
            return kErrorSuccess;
        return applicationId == kApplicationId && version == kSchemaVersion ? kErrorSuccess
                                                                            : kErrorBadDb;
    }

    unsigned long exec(const std::string& sql) {
        return statusOf(sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr));
    }

    // Turns a fresh file into an empty hive. Another process may be doing
    // the same; the transaction lets one of them do it.
    unsigned long initialise() {
        exec("PRAGMA journal_mode=WAL");
        unsigned long status = exec("BEGIN IMMEDIATE");
        if (status != kErrorSuccess)
            return status;
        status = inspect();
        if (status == kErrorSuccess && m_fresh) {
            status = exec(std::string(kSchemaSql) +
                          "PRAGMA application_id=" + std::to_string(kApplicationId) +
                          ";PRAGMA user_version=" + std::to_string(kSchemaVersion) + ";");
        }
        status = status == kErrorSuccess ? exec("COMMIT") : status;
        if (status != kErrorSuccess) {
            exec("ROLLBACK");
            return status;
        }
        m_fresh = false;
        const unsigned long configured = configureForWriting();
        emptyLog();
        return configured;
    }

    unsigned long configureForWriting() {
        long long walMode = 0;
        if (readInteger("SELECT journal_mode = 'wal' FROM pragma_journal_mode", walMode) ==
                SQLITE_OK &&
            walMode == 0)
            exec("PRAGMA journal_mode=WAL");
        // The log is synchronised by the copy that follows every commit
        // (emptyLog), not a second time when committing.
        exec("PRAGMA synchronous=NORMAL");
        int persist = 1;
        sqlite3_file_control(m_db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
        return kErrorSuccess;
    }

    sqlite3_stmt* statement(StatementId id) {
        if (m_statements[id] == nullptr)
            sqlite3_prepare_v3(m_db, kStatementSql[id], -1, SQLITE_PREPARE_PERSISTENT,
                               &m_statements[id], nullptr);
        return m_statements[id];
    }

    unsigned long run(StatementId id) {
        Query query(statement(id));
        if (!query.valid())
            return kErrorBadDb;
        const int rc = query.step();
        return rc == SQLITE_DONE || rc == SQLITE_ROW ? kErrorSuccess : statusOf(rc);
    }

    bool keyExists(sqlite3_int64 key) {
        Query query(statement(kKeyExists));
        if (!query.valid())
            return false;
        query.bind(1, key);
        return query.step() == SQLITE_ROW;
    }

    unsigned long insertKey(sqlite3_int64 parent, const std::string& name, const std::string& path,
                            sqlite3_int64& id) {
        Query query(statement(kInsertKey));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, parent);
        query.bind(2, name);
        query.bind(3, path);
        const int rc = query.step();
        if (rc != SQLITE_DONE)
            return statusOf(rc);
        id = sqlite3_last_insert_rowid(m_db);
        return kErrorSuccess;
    }

    // Deletes the rows of the key `path` and of every key below it.
    unsigned long deleteRange(StatementId id, const std::string& path) {
        Query query(statement(id));
        if (!query.valid())
            return kErrorBadDb;
        // Every path below "A\B" lies in ["A\B\", "A\B]"): "]" follows "\".
        query.bind(1, path);
        query.bind(2, path + "\\");
        query.bind(3, path + "]");
        const int rc = query.step();
        return rc == SQLITE_DONE ? kErrorSuccess : statusOf(rc);
    }

    std::string m_path;
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statements[kStatementCount] = {};
    bool m_writable = false;
    // A file without a hive in it yet that may not be written: no keys.
    bool m_fresh = false;
    std::atomic<bool> m_abandoned{false};
    std::chrono::steady_clock::time_point m_busySince;
    bool m_noWaiting = false;
};

// ----- the open hive files of the process ----------------------------------------

std::atomic<unsigned> g_forkGeneration{0};

class HiveFiles {
public:
    static HiveFiles& instance() {
        // Never destroyed: hive keys may still be closed while the process ends.
        static HiveFiles* files = new HiveFiles;
        return *files;
    }

    // The connection to `hive`'s current file. For writing, the file and its
    // directory are created when missing, and a read-only file gives
    // kErrorAccessDenied. For reading, a missing file gives
    // kErrorFileNotFound.
    unsigned long acquire(Hive hive, bool forWriting, std::shared_ptr<HiveFile>& file) {
        const std::string dir = hiveDirectory(hive);
        const std::string path = dir + "/" + hiveFileName(hive);
        std::lock_guard<std::mutex> lock(m_mutex);
        forgetAfterFork();
        auto entry = m_entries.find(path);
        if (entry != m_entries.end() && !entry->second.watch.unchanged()) {
            m_entries.erase(entry);
            entry = m_entries.end();
        }
        // A read through an open connection: nothing more to look at.
        if (entry != m_entries.end() && !forWriting) {
            file = entry->second.file;
            return kErrorSuccess;
        }
        struct stat st;
        const bool exists = ::stat(path.c_str(), &st) == 0;
        if (!exists && !forWriting)
            return kErrorFileNotFound;
        if (forWriting && !exists && !makeDirectories(dir, hive == Hive::User ? 0700 : 0755))
            return kErrorAccessDenied;
        // Looked at for every write: the permissions may have changed.
        const bool writable = isWritable(path, dir, exists ? &st : nullptr);
        if (forWriting && !writable)
            return kErrorAccessDenied;
        if (entry != m_entries.end() && entry->second.file->writable()) {
            file = entry->second.file;
            return kErrorSuccess;
        }
        if (entry != m_entries.end())
            m_entries.erase(entry);
        return openFile(path, writable, file);
    }

    // Records the state of a file that this process has just changed.
    void noteChanged(const HiveFile& file) {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto entry = m_entries.find(file.path());
        if (entry != m_entries.end() && entry->second.file.get() == &file)
            entry->second.watch.update();
    }

private:
    // An open descriptor of a hive file, to tell cheaply whether the file is
    // still the one the connection was opened on: a file that has been
    // removed or replaced (renamed over) has no links left, and one that
    // has been rewritten by something other than this process has another
    // size or time of change. A file moved away under another name is not
    // noticed.
    class FileWatch {
    public:
        explicit FileWatch(const std::string& path)
            : m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
            update();
        }
        FileWatch(const FileWatch&) = delete;
        FileWatch& operator=(const FileWatch&) = delete;
        ~FileWatch() {
            if (m_fd >= 0)
                ::close(m_fd);
        }
        bool valid() const { return m_fd >= 0; }
        bool unchanged() const {
            struct stat st;
            return m_fd >= 0 && ::fstat(m_fd, &st) == 0 && st.st_nlink > 0 &&
                   FileState::of(st) == m_state;
        }
        void update() {
            struct stat st;
            if (m_fd >= 0 && ::fstat(m_fd, &st) == 0)
                m_state = FileState::of(st);
        }

    private:
        int m_fd;
        FileState m_state;
    };

    struct Entry {
        Entry(std::shared_ptr<HiveFile> opened, const std::string& path)
            : file(std::move(opened)), watch(path) {}
        std::shared_ptr<HiveFile> file;
        FileWatch watch;
    };

    HiveFiles() {
        m_generation = g_forkGeneration.load();
        pthread_atfork([] { instance().m_mutex.lock(); }, [] { instance().m_mutex.unlock(); },
                       [] {
                           ++g_forkGeneration;
                           instance().m_mutex.unlock();
                       });
    }

    unsigned long openFile(const std::string& path, bool writable,
                           std::shared_ptr<HiveFile>& file) {
        forgetVanished();
        auto opened = std::make_shared<HiveFile>(path);
        const unsigned long status = opened->open(writable);
        if (status != kErrorSuccess)
            return status;
        auto entry = m_entries.try_emplace(path, opened, path).first;
        if (!entry->second.watch.valid()) {
            m_entries.erase(entry);
            return kErrorFileNotFound;
        }
        file = opened;
        return kErrorSuccess;
    }

    // Closes the connections to files that are gone, such as those of an
    // earlier KEL_REGISTRY_DIR that has been removed.
    void forgetVanished() {
        for (auto entry = m_entries.begin(); entry != m_entries.end();)
            entry = entry->second.watch.unchanged() ? std::next(entry) : m_entries.erase(entry);
    }

    // In a child process the connections inherited from the parent must not
    // be used, nor closed: they are dropped as they are.
    void forgetAfterFork() {
        const unsigned generation = g_forkGeneration.load();
        if (generation == m_generation)
            return;
        m_generation = generation;
        for (auto& entry : m_entries)
            entry.second.file->abandon();
        m_entries.clear();
    }

    std::mutex m_mutex;
    std::map<std::string, Entry> m_entries;
    unsigned m_generation = 0;
};

// ----- paths ----------------------------------------------------------------------

// The folded path of `path` in `hive` as it is stored, with the 32-bit view
// applied.
unsigned long resolvePath(Hive hive, std::wstring_view path, unsigned long access,
                          std::string& folded) {
    std::wstring text;
    const unsigned long status =
        foldKeyPath(path, hive == Hive::Machine && (access & kKeyWow64_32Key) != 0, text);
    if (status == kErrorSuccess)
        folded = wideToUtf8(text);
    return status;
}

// The names of `path` as they are to be created.
unsigned long resolveNames(Hive hive, std::wstring_view path, unsigned long access,
                           std::vector<std::wstring>& names) {
    const unsigned long status = splitKeyPath(path, names);
    if (status == kErrorSuccess && hive == Hive::Machine && (access & kKeyWow64_32Key) != 0)
        mapToWow32View(names);
    return status;
}

bool needsWriting(unsigned long access) {
    return (access & kKeyWriteRights) != 0;
}

}  // namespace

// An open key: the connection to its hive file (none for the root of a hive
// without a file) and the key's id.
struct HiveKey {
    std::shared_ptr<HiveFile> file;
    sqlite3_int64 id = kRootId;
    unsigned long access = 0;
};

namespace {

// A key that cannot be used: none, or one opened before this process was
// forked from its parent.
bool unusable(const HiveKey* key) {
    return key == nullptr || (key->file != nullptr && key->file->abandoned());
}

unsigned long newKey(std::shared_ptr<HiveFile> file, sqlite3_int64 id, unsigned long access,
                     HiveKey*& key) {
    key = new (std::nothrow) HiveKey{std::move(file), id, access};
    return key != nullptr ? kErrorSuccess : kErrorNotEnoughMemory;
}

}  // namespace

unsigned long openKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key) {
    key = nullptr;
    std::string folded;
    unsigned long status = resolvePath(hive, path, access, folded);
    if (status != kErrorSuccess)
        return status;
    std::shared_ptr<HiveFile> file;
    status = HiveFiles::instance().acquire(hive, needsWriting(access), file);
    if (status == kErrorFileNotFound && folded.empty())
        return newKey(nullptr, kRootId, access, key);
    if (status != kErrorSuccess)
        return status;
    sqlite3_int64 id = 0;
    {
        std::lock_guard<std::mutex> lock(file->mutex);
        status = file->findKey(folded, id);
    }
    return status == kErrorSuccess ? newKey(std::move(file), id, access, key) : status;
}

unsigned long createKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key,
                        bool* created) {
    key = nullptr;
    if (created != nullptr)
        *created = false;
    if (!needsWriting(access)) {
        // An existing key opens with the rights asked for; only a missing
        // one needs the right to write.
        const unsigned long status = openKey(hive, path, access, key);
        if (status != kErrorFileNotFound)
            return status;
    }
    std::vector<std::wstring> names;
    unsigned long status = resolveNames(hive, path, access, names);
    if (status != kErrorSuccess)
        return status;
    std::shared_ptr<HiveFile> file;
    status = HiveFiles::instance().acquire(hive, true, file);
    if (status != kErrorSuccess)
        return status;
    sqlite3_int64 id = 0;
    bool isNew = false;
    {
        std::lock_guard<std::mutex> lock(file->mutex);
        status = file->createKey(names, id, isNew);
    }
    if (status != kErrorSuccess)
        return status;
    if (isNew)
        HiveFiles::instance().noteChanged(*file);
    if (created != nullptr)
        *created = isNew;
    return newKey(std::move(file), id, access, key);
}

unsigned long queryValue(HiveKey* key, std::wstring_view name, unsigned long* type, void* data,
                         unsigned long* size) {
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeyQueryValue) == 0)
        return kErrorAccessDenied;
    if (key->file == nullptr)
        return kErrorFileNotFound;
    std::lock_guard<std::mutex> lock(key->file->mutex);
    return key->file->queryValue(key->id, wideToUtf8(foldName(name)), type, data, size);
}

unsigned long readValue(Hive hive, std::wstring_view path, unsigned long access,
                        std::wstring_view name, unsigned long* type, void* data,
                        unsigned long* size, bool& keyOpened) {
    keyOpened = false;
    std::string folded;
    unsigned long status = resolvePath(hive, path, access, folded);
    if (status != kErrorSuccess)
        return status;
    std::shared_ptr<HiveFile> file;
    status = HiveFiles::instance().acquire(hive, needsWriting(access), file);
    if (status == kErrorFileNotFound && folded.empty()) {
        keyOpened = true;
        return (access & kKeyQueryValue) == 0 ? kErrorAccessDenied : kErrorFileNotFound;
    }
    if (status != kErrorSuccess)
        return status;
    std::lock_guard<std::mutex> lock(file->mutex);
    if ((access & kKeyQueryValue) == 0) {
        sqlite3_int64 id = 0;
        status = file->findKey(folded, id);
        keyOpened = status == kErrorSuccess;
        return keyOpened ? kErrorAccessDenied : status;
    }
    return file->readValue(folded, wideToUtf8(foldName(name)), type, data, size, keyOpened);
}

unsigned long setValue(HiveKey* key, std::wstring_view name, unsigned long type, const void* data,
                       unsigned long size) {
    if (unusable(key) || key->file == nullptr)
        return kErrorInvalidHandle;
    if ((key->access & kKeySetValue) == 0)
        return kErrorAccessDenied;
    if (name.size() > kMaxValueNameLength || (data == nullptr && size > 0))
        return kErrorInvalidParameter;
    unsigned long status;
    {
        std::lock_guard<std::mutex> lock(key->file->mutex);
        status = key->file->setValue(key->id, name, type, data, size);
    }
    if (status == kErrorSuccess)
        HiveFiles::instance().noteChanged(*key->file);
    return status;
}

unsigned long deleteValue(HiveKey* key, std::wstring_view name) {
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeySetValue) == 0)
        return kErrorAccessDenied;
    if (key->file == nullptr)
        return kErrorFileNotFound;
    unsigned long status;
    {
        std::lock_guard<std::mutex> lock(key->file->mutex);
        status = key->file->deleteValue(key->id, wideToUtf8(foldName(name)));
    }
    if (status == kErrorSuccess)
        HiveFiles::instance().noteChanged(*key->file);
    return status;
}

unsigned long deleteTree(Hive hive, std::wstring_view path, unsigned long view) {
    HiveKeyHolder existing;
    unsigned long status = openKey(hive, path, kKeyRead | (view & kKeyWow64_32Key), existing.key);
    if (status != kErrorSuccess)
        return status;
    std::string folded;
    status = resolvePath(hive, path, view, folded);
    if (status != kErrorSuccess)
        return status;
    if (folded.empty())
        return kErrorAccessDenied;
    std::shared_ptr<HiveFile> file;
    status = HiveFiles::instance().acquire(hive, true, file);
    if (status != kErrorSuccess)
        return status;
    {
        std::lock_guard<std::mutex> lock(file->mutex);
        status = file->deleteTree(folded);
    }
    if (status == kErrorSuccess)
        HiveFiles::instance().noteChanged(*file);
    return status;
}

unsigned long enumSubKeys(HiveKey* key, std::vector<std::wstring>& names) {
    names.clear();
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeyEnumerateSubKeys) == 0)
        return kErrorAccessDenied;
    if (key->file == nullptr)
        return kErrorSuccess;
    std::lock_guard<std::mutex> lock(key->file->mutex);
    return key->file->subKeys(key->id, names);
}

unsigned long enumValues(HiveKey* key, std::vector<HiveValue>& values) {
    values.clear();
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeyQueryValue) == 0)
        return kErrorAccessDenied;
    if (key->file == nullptr)
        return kErrorSuccess;
    std::lock_guard<std::mutex> lock(key->file->mutex);
    return key->file->values(key->id, values);
}

void closeKey(HiveKey* key) {
    delete key;
}

}  // namespace kel::detail
