#include "platform/Security/EmbeddedItemStore.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/Files/TrustedFolder.hpp"
#include "platform/Log/Logger.hpp"

namespace platform {
namespace {

constexpr int busyMilliseconds = 2000;
constexpr int formVersion = 1;

// A rollback journal and not a write-ahead log: a read then makes no files and costs a third, and no old
// value outlives its transaction in a log. "extra" flushes the folder too, so that a rotated token is still
// there after a power cut: the server takes the old one no more.
constexpr const char* settings =
    "PRAGMA journal_mode = DELETE;"
    "PRAGMA synchronous = EXTRA;"
    "PRAGMA secure_delete = ON;";

constexpr const char* schema =
    "CREATE TABLE items ("
    "  sequence INTEGER PRIMARY KEY,"
    "  service TEXT NOT NULL,"
    "  account TEXT NOT NULL,"
    "  access_group TEXT NOT NULL,"
    "  accessible TEXT NOT NULL,"
    "  creation_date REAL NOT NULL,"
    "  modification_date REAL NOT NULL,"
    "  data BLOB NOT NULL,"
    "  UNIQUE (service, account, access_group)"
    ");"
    "PRAGMA user_version = 1;";

// The columns stand in the order of `keychainTextAttributes`, then the dates, then the bytes.
constexpr const char* selectItems =
    "SELECT service, account, access_group, accessible, creation_date, modification_date, data FROM items"
    " WHERE (?1 IS NULL OR service = ?1) AND (?2 IS NULL OR account = ?2)"
    "   AND (?3 IS NULL OR access_group = ?3) AND (?4 IS NULL OR accessible = ?4)"
    " ORDER BY sequence";
constexpr const char* insertItem =
    "INSERT INTO items (service, account, access_group, accessible, creation_date, modification_date, data)"
    " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)";
constexpr const char* updateItem =
    "UPDATE items SET service = ?1, account = ?2, access_group = ?3, accessible = ?4,"
    " creation_date = ?5, modification_date = ?6, data = ?7"
    " WHERE service = ?8 AND account = ?9 AND access_group = ?10";
constexpr const char* deleteItem =
    "DELETE FROM items WHERE service = ?1 AND account = ?2 AND access_group = ?3";

OSStatus status(int code) {
    switch (code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED: return errSecInteractionNotAllowed;
        case SQLITE_CONSTRAINT: return errSecDuplicateItem;
        default: return errSecIO;
    }
}

void check(int code) {
    if (code != SQLITE_OK) throw KeychainFailure{status(code)};
}

struct CloseDatabase {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

class Statement {
  public:
    Statement(sqlite3* database, const char* text) {
        sqlite3_stmt* made = nullptr;
        check(sqlite3_prepare_v2(database, text, -1, &made, nullptr));
        statement_.reset(made);
    }

    Statement& bind(const std::string* text) {
        check(text ? sqlite3_bind_text64(statement_.get(), next_, text->data(), text->size(),
                                         SQLITE_TRANSIENT, SQLITE_UTF8)
                   : sqlite3_bind_null(statement_.get(), next_));
        ++next_;
        return *this;
    }
    Statement& bind(Date date) {
        check(sqlite3_bind_double(statement_.get(), next_++, date.timeIntervalSinceReferenceDate()));
        return *this;
    }
    Statement& bindBytes(const std::string& bytes) {
        check(sqlite3_bind_blob64(statement_.get(), next_++, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
        return *this;
    }
    Statement& bindIdentity(const KeychainItem& item) {
        return bind(&item.service).bind(&item.account).bind(&item.accessGroup);
    }
    Statement& bindItem(const KeychainItem& item) {
        for (const auto& attribute : keychainTextAttributes) bind(&(item.*attribute.field));
        return bind(item.creationDate).bind(item.modificationDate).bindBytes(item.data);
    }

    bool step() {
        const int code = sqlite3_step(statement_.get());
        if (code != SQLITE_ROW && code != SQLITE_DONE) check(code);
        return code == SQLITE_ROW;
    }

    std::string bytes(int column) const {
        const void* start = sqlite3_column_blob(statement_.get(), column);
        return {static_cast<const char*>(start),
                static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
    }
    Date date(int column) const {
        return Date::sinceReferenceDate(sqlite3_column_double(statement_.get(), column));
    }
    int integer(int column) const { return sqlite3_column_int(statement_.get(), column); }

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
    int next_ = 1;
};

int firstInteger(sqlite3* database, const char* text) {
    Statement statement(database, text);
    return statement.step() ? statement.integer(0) : 0;
}

class Transaction : public KeychainTransaction {
  public:
    explicit Transaction(Database database) : database_(std::move(database)) {}

    std::vector<KeychainItem> items(const KeychainQuery& query) override {
        std::vector<KeychainItem> found;
        Statement select(database_.get(), selectItems);
        for (const auto& attribute : keychainTextAttributes) select.bind(query.text(attribute.key));
        while (select.step()) {
            KeychainItem item = {.service = select.bytes(0),
                                 .account = select.bytes(1),
                                 .accessGroup = select.bytes(2),
                                 .accessible = select.bytes(3),
                                 .creationDate = select.date(4),
                                 .modificationDate = select.date(5),
                                 .data = select.bytes(6)};
            if (query.matches(item)) found.push_back(std::move(item));
        }
        return found;
    }

    void insert(const KeychainItem& item) override {
        Statement(database_.get(), insertItem).bindItem(item).step();
    }

    void replace(const KeychainItem& item, const KeychainItem& replacement) override {
        Statement(database_.get(), updateItem).bindItem(replacement).bindIdentity(item).step();
    }

    void erase(const KeychainItem& item) override {
        Statement(database_.get(), deleteItem).bindIdentity(item).step();
    }

    void commit() override { check(sqlite3_exec(database_.get(), "COMMIT", nullptr, nullptr, nullptr)); }

  private:
    Database database_;
};

// SQLite would make the file with the mode that the umask leaves. The journal takes its mode from the file.
void createPrivately(const std::filesystem::path& file) {
    const auto folder = TrustedFolder::make(file.parent_path());
    const Descriptor made(::openat(folder.descriptor(), file.filename().c_str(),
                                   O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!made.isOpen() && errno != EEXIST) throw FileError(file, errno);
}

// Throws FileError for a file that anyone but its owner may read or write. Asked without opening it: closing
// a descriptor of our own would drop the locks that another connection of this process holds.
bool isPresent(const std::filesystem::path& file) {
    const auto folder = TrustedFolder::open(file.parent_path());
    return folder && folder->fileStatus(file.filename(), TrustedFolder::Others::mayDoNothing);
}

Database open(const std::filesystem::path& file) {
    sqlite3* opened = nullptr;
    const int code =
        sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    Database database(opened);
    check(code);
    sqlite3_busy_timeout(opened, busyMilliseconds);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    check(sqlite3_exec(opened, "PRAGMA cell_size_check = ON", nullptr, nullptr, nullptr));
    return database;
}

// A file without a schema is one whose maker was killed before its first addition.
bool isBlank(sqlite3* database) {
    return firstInteger(database, "SELECT count(*) FROM sqlite_schema") == 0;
}

// A damaged file is found out before anything in it is touched.
void requireSound(sqlite3* database) {
    Statement verdict(database, "PRAGMA integrity_check(1)");
    const bool isSound = verdict.step() && verdict.bytes(0) == "ok";
    if (!isSound || firstInteger(database, "PRAGMA user_version") != formVersion)
        throw KeychainFailure{errSecIO};
}

}  // namespace

std::optional<std::string> EmbeddedItemStore::refusal() const {
    try {
        isPresent(file_);
        return std::nullopt;
    } catch (const FileError& error) {
        return error.what();
    }
}

bool EmbeddedItemStore::prepare(Access access) {
    try {
        if (access == Access::create) createPrivately(file_);
        return isPresent(file_);
    } catch (const FileError& error) {
        if (!hasComplained_.exchange(true)) Logger::standard().log(LogLevel::error, "%s", {{error.what()}});
        throw KeychainFailure{errSecIO};
    }
}

std::unique_ptr<KeychainTransaction> EmbeddedItemStore::begin(Access access) {
    if (!prepare(access)) {
        if (access == Access::create) throw KeychainFailure{errSecIO};
        return nullptr;
    }
    Database database = open(file_);
    if (access == Access::read) {
        if (isBlank(database.get())) return nullptr;
        return std::make_unique<Transaction>(std::move(database));
    }
    check(sqlite3_exec(database.get(), settings, nullptr, nullptr, nullptr));
    check(sqlite3_exec(database.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    if (isBlank(database.get())) {
        if (access == Access::change) return nullptr;
        check(sqlite3_exec(database.get(), schema, nullptr, nullptr, nullptr));
    } else {
        requireSound(database.get());
    }
    return std::make_unique<Transaction>(std::move(database));
}

}  // namespace platform
