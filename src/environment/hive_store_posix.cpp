// The configuration store on SQLite: one database file per hive.
//
// A hive file holds two tables: keys (each with its parent, its name as
// created and its folded full path, which is unique) and vals (per key and
// folded name: the name as created, the type and the data). The file is
// marked with its own application id, so that a foreign database is
// recognised and never written to. A file is checked page by page (SQLite's
// quick check) when it is opened: a damaged one is reported as such and
// never written to either.
//
// Connections stay open for the process, one per hive file, found by the
// file's path: a change of KEL_REGISTRY_DIR (or of HOME) reaches other
// files. Before each use the file is looked at again; when it is no longer
// the file that was opened (replaced, rewritten by something other than
// SQLite, removed), the connection is dropped and a new one opened.
//
// Opening and reading never write: a missing file stays missing, an empty
// one becomes a hive with the first change made to it.
//
// Durability: every change is one IMMEDIATE transaction in write-ahead-log
// mode, committed with the log synchronised (synchronous=FULL), so a change
// is on disk when the call that made it returns, whatever other processes do
// meanwhile, at the price of one synchronisation. Concurrent processes wait
// for each other (busy handler) instead of failing. The log is copied back
// into the database file by SQLite's automatic checkpoints, which keep it
// short, and completely (the log then emptied) by every process that has
// the hive open for writing when it ends: so once no process uses a hive
// any more, its database file alone holds every value and may be copied on
// its own. The empty log files are
// kept rather than deleted, so that processes that may only read a hive in
// a directory they cannot write can still open it.

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
#include <filesystem>
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
// How long the checkpoint of a process that ends waits for other processes
// to let go of the log; they hold it for one statement at a time.
constexpr auto kExitCheckpointTimeout = std::chrono::seconds(5);

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

bool isDamage(int rc) {
    return (rc & 0xFF) == SQLITE_CORRUPT || (rc & 0xFF) == SQLITE_NOTADB;
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

// KEL_REGISTRY_DIR as the store uses it, absolute. A relative value is
// resolved against the current directory the first time the store meets
// it and kept so: the hives stay where they were found when the process
// changes its current directory later.
std::string registryDirectory(const std::string& given) {
    if (given[0] == '/')
        return given;
    // Never destroyed: the hives are still used while the process ends.
    static auto* mutex = new std::mutex;
    static auto* resolved = new std::map<std::string, std::string>;
    std::lock_guard<std::mutex> lock(*mutex);
    auto found = resolved->find(given);
    if (found != resolved->end())
        return found->second;
    std::error_code error;
    const std::filesystem::path current = std::filesystem::current_path(error);
    std::string absolute = given;
    if (!error) {
        absolute = (current / given).lexically_normal().string();
        while (absolute.size() > 1 && absolute.back() == '/')
            absolute.pop_back();
    }
    return resolved->emplace(given, absolute).first->second;
}

std::string hiveDirectory(Hive hive) {
    const char* dir = std::getenv("KEL_REGISTRY_DIR");
    if (dir != nullptr && dir[0] != '\0')
        return registryDirectory(dir);
    if (hive == Hive::User)
        return userConfigDirectory() + "/kel/registry";
    return "/etc/kel/registry";
}

std::string parentDirectory(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Makes the creation of an entry of `dir` durable.
void syncDirectory(const std::string& dir) {
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

// Creates `dir` and its missing parents, each one durably.
bool makeDirectories(const std::string& dir, mode_t mode) {
    struct stat st;
    if (dir.empty() || ::stat(dir.c_str(), &st) == 0)
        return !dir.empty() && S_ISDIR(st.st_mode);
    const std::string parent = parentDirectory(dir);
    if (parent != dir && !makeDirectories(parent, mode))
        return false;
    if (::mkdir(dir.c_str(), mode) != 0)
        return errno == EEXIST;
    syncDirectory(parent);
    return true;
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
        if (!m_abandoned)
            closeConnection();
    }

    const std::string& path() const { return m_path; }
    bool writable() const { return m_writable; }

    // After fork: the connection belongs to the parent; it is left alone
    // (not even closed), and using it fails.
    void abandon() { m_abandoned = true; }
    bool abandoned() const { return m_abandoned; }

    // Serialises every use of the connection and its statements.
    std::mutex mutex;

    // Connects and checks the file; writes nothing.
    unsigned long open(bool writable) {
        m_writable = writable;
        const int flags =
            writable ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY;
        unsigned long status = connect(m_path, flags | SQLITE_OPEN_NOMUTEX);
        if (status == kErrorSuccess)
            status = inspect(true);
        if (status == kErrorAccessDenied && !writable) {
            // A read-only hive in a directory where the log files cannot be
            // created: read the file as it stands.
            status = connect(uriEscape(m_path) + "?immutable=1",
                             flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI);
            if (status == kErrorSuccess)
                status = inspect(true);
        }
        if (status != kErrorSuccess)
            closeConnection();
        return status;
    }

    unsigned long findKey(const std::string& path, sqlite3_int64& id) {
        if (isFresh()) {
            id = kRootId;
            return path.empty() ? kErrorSuccess : kErrorFileNotFound;
        }
        Query query(statement(kFindKey));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, path);
        const int rc = query.step();
        if (rc != SQLITE_ROW)
            return rc == SQLITE_DONE ? kErrorFileNotFound : failure(rc);
        id = sqlite3_column_int64(query.get(), 0);
        return kErrorSuccess;
    }

    unsigned long readValue(const std::string& path, const std::string& name, unsigned long* type,
                            void* data, unsigned long* size, bool& keyFound) {
        keyFound = false;
        if (isFresh()) {
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
            return rc == SQLITE_DONE ? kErrorFileNotFound : failure(rc);
        keyFound = true;
        if (sqlite3_column_type(query.get(), 1) == SQLITE_NULL)
            return kErrorFileNotFound;
        return copyValue(query.get(), 1, 2, type, data, size);
    }

    unsigned long queryValue(sqlite3_int64 key, const std::string& name, unsigned long* type,
                             void* data, unsigned long* size) {
        if (isFresh())
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
            return failure(rc);
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
            return m_damaged ? kErrorBadDb : kErrorKeyDeleted;
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
            return failure(rc);
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
            return failure(rc);
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
        if (isFresh())
            return kErrorSuccess;
        Query query(statement(kSubKeys));
        if (!query.valid())
            return kErrorBadDb;
        query.bind(1, key);
        int rc;
        while ((rc = query.step()) == SQLITE_ROW)
            names.push_back(columnText(query.get(), 0));
        return rc == SQLITE_DONE ? kErrorSuccess : failure(rc);
    }

    unsigned long values(sqlite3_int64 key, std::vector<HiveValue>& values) {
        values.clear();
        if (isFresh())
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
        return rc == SQLITE_DONE ? kErrorSuccess : failure(rc);
    }

    // Copies the whole log into the database file, synchronises it and
    // empties the log, waiting a little for other processes to let go of
    // the log. For a process that ends: what it wrote then no longer
    // depends on the log.
    void checkpoint() {
        if (m_db == nullptr || !m_writable || m_fresh || m_damaged)
            return;
        m_busyLimit = kExitCheckpointTimeout;
        if (sqlite3_wal_checkpoint_v2(m_db, "main", SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr) !=
            SQLITE_OK)
            sqlite3_wal_checkpoint_v2(m_db, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
        m_busyLimit = kBusyTimeout;
    }

private:
    // One write transaction; rolled back unless committed. The first one
    // of a file without a hive in it creates the hive in the same
    // transaction.
    class Transaction {
    public:
        explicit Transaction(HiveFile& file) : m_file(file) {}
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        ~Transaction() {
            if (!m_open)
                return;
            m_file.run(kRollback);
            if (m_initialised)
                m_file.m_fresh = true;
        }
        unsigned long begin() {
            if (m_file.m_damaged)
                return kErrorBadDb;
            if (!m_file.m_writable)
                return kErrorAccessDenied;
            unsigned long status = m_file.useWriteAheadLog();
            if (status == kErrorSuccess)
                status = m_file.run(kBegin);
            m_open = status == kErrorSuccess;
            if (m_open && m_file.m_fresh)
                status = m_file.initialise(m_initialised);
            return status;
        }
        unsigned long commit() {
            const unsigned long status = m_file.run(kCommit);
            m_open = status != kErrorSuccess && !sqlite3_get_autocommit(m_file.m_db);
            if (status == kErrorSuccess)
                m_initialised = false;
            return status;
        }

    private:
        HiveFile& m_file;
        bool m_open = false;
        bool m_initialised = false;
    };

    static std::wstring columnText(sqlite3_stmt* row, int column) {
        const char* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
        return utf8ToWide(std::string_view(text != nullptr ? text : "",
                                           static_cast<size_t>(sqlite3_column_bytes(row, column))));
    }

    // The result of a failed statement; damage found on the way makes the
    // file unusable for this connection.
    unsigned long failure(int rc) {
        if (isDamage(rc))
            m_damaged = true;
        return statusOf(rc);
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
        // Closing never copies the log into the file: a file that was
        // refused must stay as it is, and the log of a file that was
        // replaced belongs to the new one. Processes that end copy it
        // themselves (checkpoint).
        sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        if ((flags & SQLITE_OPEN_READWRITE) != 0) {
            // A commit synchronises the log: the one synchronisation that
            // makes it durable.
            sqlite3_exec(m_db, "PRAGMA synchronous=FULL", nullptr, nullptr, nullptr);
            int persist = 1;
            sqlite3_file_control(m_db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
        }
        return kErrorSuccess;
    }

    // Waits for another connection to let go of the file: briefly at first,
    // as a write holds it for about one disk synchronisation, then longer,
    // for at most m_busyLimit. Returns 0 to give up.
    static int waitWhileBusy(void* context, int attempt) {
        auto* file = static_cast<HiveFile*>(context);
        const auto now = std::chrono::steady_clock::now();
        if (attempt == 0)
            file->m_busySince = now;
        if (now - file->m_busySince > file->m_busyLimit)
            return 0;
        pauseBeforeRetry(attempt);
        return 1;
    }

    // The pause before the next attempt to lock the file.
    static void pauseBeforeRetry(int attempt) {
        std::this_thread::sleep_for(std::chrono::microseconds(attempt < 20    ? 100
                                                              : attempt < 200 ? 500
                                                                              : 2000));
    }

    void closeConnection() {
        for (sqlite3_stmt*& statement : m_statements) {
            sqlite3_finalize(statement);
            statement = nullptr;
        }
        sqlite3_close_v2(m_db);
        m_db = nullptr;
    }

    // The first `count` integers of a statement's first row; the result
    // code of the attempt.
    int readIntegers(const char* sql, long long* values, int count) {
        sqlite3_stmt* statement = nullptr;
        int rc = sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr);
        if (rc == SQLITE_OK) {
            rc = sqlite3_step(statement);
            if (rc == SQLITE_ROW) {
                for (int i = 0; i < count; ++i)
                    values[i] = sqlite3_column_int64(statement, i);
                rc = SQLITE_OK;
            }
        }
        sqlite3_finalize(statement);
        return rc;
    }

    int readInteger(const char* sql, long long& value) { return readIntegers(sql, &value, 1); }

    // SQLite's quick check of every page: "ok" as the only row.
    int checkPages() {
        sqlite3_stmt* statement = nullptr;
        int rc = sqlite3_prepare_v2(m_db, "PRAGMA quick_check(1)", -1, &statement, nullptr);
        if (rc == SQLITE_OK) {
            rc = sqlite3_step(statement);
            if (rc == SQLITE_ROW) {
                const char* verdict =
                    reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
                rc = verdict != nullptr && std::strcmp(verdict, "ok") == 0 ? SQLITE_OK
                                                                           : SQLITE_CORRUPT;
            }
        }
        sqlite3_finalize(statement);
        return rc;
    }

    // Tells a hive of ours from a file without a hive in it yet (m_fresh)
    // and from anything else. With `checkAllPages`, a hive is also checked
    // page by page. Reads only: a foreign or damaged file is never written
    // to.
    unsigned long inspect(bool checkAllPages) {
        // One statement, so that the three facts come from one state of the
        // file: another process may be creating the hive meanwhile, and
        // separate reads could see the file half before and half after.
        long long header[3] = {0, 0, 0};
        long long walMode = 0;
        int rc = readIntegers(
            "SELECT (SELECT application_id FROM pragma_application_id),"
            " (SELECT user_version FROM pragma_user_version),"
            " (SELECT count(*) FROM sqlite_master)",
            header, 3);
        const long long applicationId = header[0];
        const long long version = header[1];
        const long long objects = header[2];
        m_fresh = rc == SQLITE_OK && applicationId == 0 && version == 0 && objects == 0;
        if (rc == SQLITE_OK && !m_fresh &&
            (applicationId != kApplicationId || version != kSchemaVersion))
            return kErrorBadDb;
        if (rc == SQLITE_OK && !m_fresh && checkAllPages)
            rc = checkPages();
        if (rc == SQLITE_OK && readInteger("SELECT journal_mode = 'wal' FROM pragma_journal_mode",
                                           walMode) == SQLITE_OK)
            m_walMode = walMode != 0;
        if (rc == SQLITE_OK)
            return kErrorSuccess;
        const int primary = rc & 0xFF;
        if (primary == SQLITE_CANTOPEN || primary == SQLITE_READONLY)
            return kErrorAccessDenied;
        return primary == SQLITE_BUSY ? kErrorBusy : kErrorBadDb;
    }

    // Whether the file still has no hive in it. Another process may have
    // created one since this connection looked.
    bool isFresh() {
        if (m_fresh && m_db != nullptr)
            inspect(false);
        return m_fresh;
    }

    unsigned long exec(const std::string& sql) {
        const int rc = sqlite3_exec(m_db, sql.c_str(), nullptr, nullptr, nullptr);
        return rc == SQLITE_OK ? kErrorSuccess : failure(rc);
    }

    // Hives are written in write-ahead-log mode; a hive copied in another
    // mode is switched before its first change.
    unsigned long useWriteAheadLog() {
        if (m_walMode)
            return kErrorSuccess;
        // Processes switching a new file at the same time each hold the
        // read lock that the others wait for; SQLite breaks that deadlock by
        // failing all but one at once, without their busy handlers. A
        // failed switch holds no lock, so it waits as the busy handler would
        // and tries again; once another process has switched the file, the
        // switch finds it done.
        const auto giveUp = std::chrono::steady_clock::now() + m_busyLimit;
        int rc = SQLITE_OK;
        for (int attempt = 0;; ++attempt) {
            rc = sqlite3_exec(m_db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
            if ((rc & 0xFF) != SQLITE_BUSY || std::chrono::steady_clock::now() > giveUp)
                break;
            pauseBeforeRetry(attempt);
        }
        const unsigned long status = rc == SQLITE_OK ? kErrorSuccess : failure(rc);
        long long walMode = 0;
        if (status == kErrorSuccess &&
            readInteger("SELECT journal_mode = 'wal' FROM pragma_journal_mode", walMode) ==
                SQLITE_OK)
            m_walMode = walMode != 0;
        return status;
    }

    // Within the first write transaction of a file without a hive in it:
    // creates the empty hive, unless another process has done so meanwhile.
    // `created` tells whether this transaction did.
    unsigned long initialise(bool& created) {
        created = false;
        unsigned long status = inspect(false);
        if (status == kErrorSuccess && m_fresh) {
            status = exec(std::string(kSchemaSql) +
                          "PRAGMA application_id=" + std::to_string(kApplicationId) +
                          ";PRAGMA user_version=" + std::to_string(kSchemaVersion) + ";");
            created = status == kErrorSuccess;
            m_fresh = !created;
        }
        return status;
    }

    // A prepared statement; none once the file was found damaged, except
    // the one that ends a transaction.
    sqlite3_stmt* statement(StatementId id) {
        if (m_damaged && id != kRollback)
            return nullptr;
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
        return rc == SQLITE_DONE || rc == SQLITE_ROW ? kErrorSuccess : failure(rc);
    }

    bool keyExists(sqlite3_int64 key) {
        Query query(statement(kKeyExists));
        if (!query.valid())
            return false;
        query.bind(1, key);
        const int rc = query.step();
        if (rc != SQLITE_ROW && rc != SQLITE_DONE)
            failure(rc);
        return rc == SQLITE_ROW;
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
            return failure(rc);
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
        return rc == SQLITE_DONE ? kErrorSuccess : failure(rc);
    }

    std::string m_path;
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statements[kStatementCount] = {};
    bool m_writable = false;
    // A file without a hive in it yet: no keys but the root.
    bool m_fresh = false;
    bool m_walMode = false;
    // Damage found while using the file: nothing more is read or written.
    bool m_damaged = false;
    std::atomic<bool> m_abandoned{false};
    std::chrono::steady_clock::time_point m_busySince;
    std::chrono::steady_clock::duration m_busyLimit = kBusyTimeout;
};

// ----- the open hive files of the process ----------------------------------------

std::atomic<unsigned> g_forkGeneration{0};

// What a caller wants of a hive file.
enum class Use {
    Read,   // a missing file gives kErrorFileNotFound
    Write,  // the same, and a read-only file gives kErrorAccessDenied
    Create  // for writing; a missing file (and its directory) is created
};

class HiveFiles {
public:
    static HiveFiles& instance() {
        // Never destroyed: hive keys may still be closed while the process ends.
        static HiveFiles* files = new HiveFiles;
        return *files;
    }

    // The connection to `hive`'s current file.
    unsigned long acquire(Hive hive, Use use, std::shared_ptr<HiveFile>& file) {
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
        if (entry != m_entries.end() && use == Use::Read) {
            file = entry->second.file;
            return kErrorSuccess;
        }
        struct stat st;
        const bool exists = ::stat(path.c_str(), &st) == 0;
        if (!exists && use != Use::Create)
            return kErrorFileNotFound;
        if (!exists && !makeDirectories(dir, hive == Hive::User ? 0700 : 0755))
            return kErrorAccessDenied;
        // Looked at for every write: the permissions may have changed.
        const bool writable = isWritable(path, dir, exists ? &st : nullptr);
        if (use != Use::Read && !writable)
            return kErrorAccessDenied;
        if (entry != m_entries.end() && entry->second.file->writable()) {
            file = entry->second.file;
            return kErrorSuccess;
        }
        if (entry != m_entries.end())
            m_entries.erase(entry);
        const unsigned long status = openFile(path, writable, file);
        if (!exists)
            syncDirectory(dir);
        return status;
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
    // has been rewritten has another size or time of change. A checkpoint
    // of another process counts as such a change too: the connection is
    // then opened again. A file moved away under another name is not
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
        std::atexit([] { instance().checkpointAll(); });
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

    // When the process ends: every hive it has open, unless it is no longer
    // the file that was opened, gets its log copied into the database file.
    void checkpointAll() {
        std::lock_guard<std::mutex> lock(m_mutex);
        forgetAfterFork();
        for (auto& [path, entry] : m_entries) {
            if (!entry.watch.unchanged())
                continue;
            std::lock_guard<std::mutex> fileLock(entry.file->mutex);
            entry.file->checkpoint();
        }
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

// An open key: the connection to its hive file and the key's id. The root
// of a hive that has no file yet has no connection: its reads look for the
// file again, and its first change creates it.
struct HiveKey {
    std::shared_ptr<HiveFile> file;
    sqlite3_int64 id = kRootId;
    unsigned long access = 0;
    Hive hive = Hive::User;
};

namespace {

// A key that cannot be used: none, or one opened before this process was
// forked from its parent.
bool unusable(const HiveKey* key) {
    return key == nullptr || (key->file != nullptr && key->file->abandoned());
}

unsigned long newKey(std::shared_ptr<HiveFile> file, sqlite3_int64 id, unsigned long access,
                     Hive hive, HiveKey*& key) {
    key = new (std::nothrow) HiveKey{std::move(file), id, access, hive};
    return key != nullptr ? kErrorSuccess : kErrorNotEnoughMemory;
}

// The connection a key works through: its own, or for the root of a hive
// that had no file, the file as it is now (created for Use::Create).
unsigned long fileOf(const HiveKey* key, Use use, std::shared_ptr<HiveFile>& file) {
    if (key->file != nullptr) {
        file = key->file;
        return kErrorSuccess;
    }
    return HiveFiles::instance().acquire(key->hive, use, file);
}

}  // namespace

unsigned long openKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key) {
    key = nullptr;
    std::string folded;
    unsigned long status = resolvePath(hive, path, access, folded);
    if (status != kErrorSuccess)
        return status;
    std::shared_ptr<HiveFile> file;
    status =
        HiveFiles::instance().acquire(hive, needsWriting(access) ? Use::Write : Use::Read, file);
    if (status == kErrorFileNotFound && folded.empty())
        return newKey(nullptr, kRootId, access, hive, key);
    if (status != kErrorSuccess)
        return status;
    sqlite3_int64 id = 0;
    {
        std::lock_guard<std::mutex> lock(file->mutex);
        status = file->findKey(folded, id);
    }
    return status == kErrorSuccess ? newKey(std::move(file), id, access, hive, key) : status;
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
    status = HiveFiles::instance().acquire(hive, Use::Create, file);
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
    return newKey(std::move(file), id, access, hive, key);
}

unsigned long queryValue(HiveKey* key, std::wstring_view name, unsigned long* type, void* data,
                         unsigned long* size) {
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeyQueryValue) == 0)
        return kErrorAccessDenied;
    std::shared_ptr<HiveFile> file;
    const unsigned long status = fileOf(key, Use::Read, file);
    if (status != kErrorSuccess)
        return status;
    std::lock_guard<std::mutex> lock(file->mutex);
    return file->queryValue(key->id, wideToUtf8(foldName(name)), type, data, size);
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
    status =
        HiveFiles::instance().acquire(hive, needsWriting(access) ? Use::Write : Use::Read, file);
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
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeySetValue) == 0)
        return kErrorAccessDenied;
    if (name.size() > kMaxValueNameLength || (data == nullptr && size > 0))
        return kErrorInvalidParameter;
    std::shared_ptr<HiveFile> file;
    unsigned long status = fileOf(key, Use::Create, file);
    if (status != kErrorSuccess)
        return status;
    {
        std::lock_guard<std::mutex> lock(file->mutex);
        status = file->setValue(key->id, name, type, data, size);
    }
    if (status == kErrorSuccess)
        HiveFiles::instance().noteChanged(*file);
    return status;
}

unsigned long deleteValue(HiveKey* key, std::wstring_view name) {
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeySetValue) == 0)
        return kErrorAccessDenied;
    std::shared_ptr<HiveFile> file;
    unsigned long status = fileOf(key, Use::Write, file);
    if (status != kErrorSuccess)
        return status;
    {
        std::lock_guard<std::mutex> lock(file->mutex);
        status = file->deleteValue(key->id, wideToUtf8(foldName(name)));
    }
    if (status == kErrorSuccess)
        HiveFiles::instance().noteChanged(*file);
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
    status = HiveFiles::instance().acquire(hive, Use::Write, file);
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
    std::shared_ptr<HiveFile> file;
    const unsigned long status = fileOf(key, Use::Read, file);
    if (status != kErrorSuccess)
        return status == kErrorFileNotFound ? kErrorSuccess : status;
    std::lock_guard<std::mutex> lock(file->mutex);
    return file->subKeys(key->id, names);
}

unsigned long enumValues(HiveKey* key, std::vector<HiveValue>& values) {
    values.clear();
    if (unusable(key))
        return kErrorInvalidHandle;
    if ((key->access & kKeyQueryValue) == 0)
        return kErrorAccessDenied;
    std::shared_ptr<HiveFile> file;
    const unsigned long status = fileOf(key, Use::Read, file);
    if (status != kErrorSuccess)
        return status == kErrorFileNotFound ? kErrorSuccess : status;
    std::lock_guard<std::mutex> lock(file->mutex);
    return file->values(key->id, values);
}

void closeKey(HiveKey* key) {
    delete key;
}

// The checks of HiveFiles::acquire, put into words.
HiveFileReport reportHiveFile(Hive hive, bool writing) {
    HiveFileReport report;
    const std::string dir = hiveDirectory(hive);
    report.path = dir + "/" + hiveFileName(hive);
    const char* given = std::getenv("KEL_REGISTRY_DIR");
    if (given != nullptr && given[0] != '\0' && given[0] != '/')
        report.origin = "KEL_REGISTRY_DIR \"" + std::string(given) + "\" taken as " + dir;
    struct stat st;
    if (::stat(report.path.c_str(), &st) != 0) {
        const int error = errno;
        if (error != ENOENT) {
            report.problem = std::strerror(error);
        } else if (!writing) {
            report.problem = "the file does not exist";
        } else {
            // Written, the file and its missing folders are created: the
            // nearest folder that exists must take them.
            std::string existing = dir;
            bool found = false;
            for (;;) {
                found = ::stat(existing.c_str(), &st) == 0;
                const std::string parent = parentDirectory(existing);
                if (found || parent == existing)
                    break;
                existing = parent;
            }
            if (!found)
                report.problem = "no folder of " + dir + " exists";
            else if (!S_ISDIR(st.st_mode))
                report.problem = existing + " is not a folder";
            else if (::access(existing.c_str(), W_OK) != 0)
                report.problem = "cannot create it in " + existing + ": " + std::strerror(errno);
        }
        return report;
    }
    if (S_ISDIR(st.st_mode)) {
        report.problem = "it is a folder";
    } else if (!writing && ::access(report.path.c_str(), R_OK) != 0) {
        report.problem = std::strerror(errno);
    } else if (writing && (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
        report.problem = "the file has no write permission, which makes a hive read-only";
    } else if (writing && ::access(report.path.c_str(), W_OK) != 0) {
        report.problem = std::strerror(errno);
    } else if (writing && ::access(dir.c_str(), W_OK) != 0) {
        report.problem = "its folder cannot be written: " + std::string(std::strerror(errno));
    }
    return report;
}

}  // namespace kel::detail
