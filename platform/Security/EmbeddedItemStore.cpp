// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/EmbeddedItemStore.hpp"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>

#include "platform/Files/TrustedFolder.hpp"
#include "platform/Security/KeychainChange.hpp"
#include "platform/Security/KeychainLock.hpp"
#include "platform/Security/SpaceReserve.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr int formVersion = 1;

// What a transaction can take beside the file itself: the journal holds every page of the file once more at
// most, and this is for pages that come anew, room for a pair of tokens several times over.
constexpr std::size_t roomForGrowth = std::size_t{64} << 10;

// A rollback journal and not a write-ahead log: a read then makes no files and costs a third, and no old
// value outlives its transaction in a log. "extra" flushes the folder too, so that a rotated token is still
// there after a power cut: the server takes the old one no more. What is temporary stays in memory: it may
// hold a token.
constexpr const char* settings =
    "PRAGMA journal_mode = DELETE;"
    "PRAGMA synchronous = EXTRA;"
    "PRAGMA secure_delete = ON;"
    "PRAGMA temp_store = MEMORY;";

constexpr const char* itemsTable =
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
    ")";
constexpr const char* setVersion = "PRAGMA user_version = 1";

// Anything else of these names, a view without an end or a trigger, would be run by a mere look.
constexpr const char* foreignPart =
    "SELECT 1 FROM sqlite_schema WHERE coalesce(sql, '') IS NOT"
    " CASE name WHEN 'items' THEN ?1 WHEN 'sqlite_autoindex_items_1' THEN '' END";
// A tree of pages that leads back into itself has no end either. A look takes some two dozen steps an item.
constexpr int mostSteps = 20'000'000;

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

OSStatus statusOf(int code) {
    switch (code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED: return errSecInteractionNotAllowed;
        case SQLITE_CONSTRAINT: return errSecDuplicateItem;
        default: return errSecIO;
    }
}

/// With the code that says more than the status.
struct DatabaseFailure : KeychainFailure {
    explicit DatabaseFailure(int failedCode)
        : KeychainFailure{statusOf(failedCode),
                          std::string("the keychain cannot be used: ") + sqlite3_errstr(failedCode)},
          code(failedCode) {}
    int code;
};

void check(int code) {
    if (code != SQLITE_OK) throw DatabaseFailure(code);
}

/// Whether it may come of a full disk: out of room for the file's bytes, for the journal or for its name; or
/// of what passes: a journal that could not be made for once, memory that was short.
bool mayBeForWantOfSpace(const DatabaseFailure& failure) {
    switch (failure.code & 0xff) {
        case SQLITE_FULL:
        case SQLITE_IOERR:
        case SQLITE_CANTOPEN:
        case SQLITE_READONLY:
        case SQLITE_NOMEM: return true;
        default: return false;
    }
}

[[noreturn]] void refuse(const fs::path& path, const std::string& why) {
    throw KeychainFailure{errSecIO, "the keychain is refused: " + path.string() + " " + why};
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

// SQLite would make the file with the mode that the umask leaves. The journal takes its mode from the file.
void createPrivately(const fs::path& file) {
    const auto folder = TrustedFolder::make(file.parent_path());
    const Descriptor made(::openat(folder.descriptor(), file.filename().c_str(),
                                   O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!made.isOpen() && errno != EEXIST) throw FileError(file, errno);
}

void requireWritable(const fs::path& path, int mode) {
    if (::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0) return;
    refuse(path, "cannot be written (" + std::generic_category().message(errno) +
                     "), so that a renewed token could not be kept");
}

// Throws FileError for a file that anyone but its owner may read or write, and refuses one that could be read
// but not written. Asked without opening it: closing a descriptor of our own would drop the locks that
// another connection of this process holds.
bool isPresent(const fs::path& file) {
    const auto folder = TrustedFolder::open(file.parent_path());
    if (!folder || !folder->fileStatus(file.filename(), TrustedFolder::Others::mayDoNothing)) return false;
    requireWritable(file, R_OK | W_OK);
    requireWritable(file.parent_path(), W_OK | X_OK);
    return true;
}

Database open(const fs::path& file, std::chrono::milliseconds patience) {
    sqlite3* opened = nullptr;
    const int code =
        sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    Database database(opened);
    check(code);
    sqlite3_busy_timeout(opened, static_cast<int>(patience.count()));
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_progress_handler(
        opened, mostSteps, [](void*) { return 1; }, nullptr);
    check(sqlite3_exec(opened, "PRAGMA cell_size_check = ON", nullptr, nullptr, nullptr));
    return database;
}

Database openToWrite(const fs::path& file, std::chrono::milliseconds patience) {
    Database database = open(file, patience);
    // What cannot be opened to be written is opened to be read instead.
    if (sqlite3_db_readonly(database.get(), "main") != 0) check(SQLITE_READONLY);
    check(sqlite3_exec(database.get(), settings, nullptr, nullptr, nullptr));
    check(sqlite3_exec(database.get(), "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
    return database;
}

// Never kept.
const KeychainItem rehearsed = {.service = "rehearsal",
                                .account = {},
                                .accessGroup = {},
                                .accessible = {},
                                .creationDate = Date::sinceReferenceDate(0),
                                .modificationDate = Date::sinceReferenceDate(0),
                                .data = {}};

SpaceReserve reserveOf(const fs::path& file) {
    return SpaceReserve(fs::path(file).replace_extension(".reserve"));
}

/// Whether there is room for any transaction on a file of the present size.
bool keepsReserve(const fs::path& file) {
    std::error_code error;
    const auto size = fs::file_size(file, error);
    return reserveOf(file).keep((error ? 0 : static_cast<std::size_t>(size)) + roomForGrowth);
}

// A file without a schema is one whose maker was killed before its first addition.
bool isBlank(sqlite3* database) {
    return firstInteger(database, "SELECT 1 FROM sqlite_schema") == 0;
}

void requireOwnForm(const fs::path& file, sqlite3* database) {
    const std::string table = itemsTable;
    Statement foreign(database, foreignPart);
    if (foreign.bind(&table).step()) refuse(file, "is damaged, or is no keychain");
}

// A damaged file is found out before anything in it is touched.
void requireSound(const fs::path& file, sqlite3* database) {
    Statement verdict(database, "PRAGMA integrity_check(1)");
    const bool isSound = verdict.step() && verdict.bytes(0) == "ok";
    if (!isSound || firstInteger(database, "PRAGMA user_version") != formVersion)
        refuse(file, "is damaged, or is no keychain");
}

// For want of space it does all its changes again in the room of the reserve, if nobody has changed anything
// in between.
class DatabaseTransaction : public KeychainTransaction {
  public:
    DatabaseTransaction(fs::path file, std::chrono::milliseconds patience, Database database)
        : file_(std::move(file)), patience_(patience), database_(std::move(database)) {}

    void createSchema() {
        attempt([this] {
            check(sqlite3_exec(database_.get(), itemsTable, nullptr, nullptr, nullptr));
            check(sqlite3_exec(database_.get(), setVersion, nullptr, nullptr, nullptr));
        });
    }

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

    void insert(const KeychainItem& item) override { change({.before = std::nullopt, .after = item}); }
    void replace(const KeychainItem& item, const KeychainItem& replacement) override {
        change({.before = item, .after = replacement});
    }
    void erase(const KeychainItem& item) override { change({.before = item, .after = std::nullopt}); }

    void commit() override {
        attempt([this] { end(); });
        if (!sqlite3_get_autocommit(database_.get())) end();
        database_.reset();
        keepsReserve(file_);
    }

    void rehearse() override {
        try {
            insert(rehearsed);
            // The first does not say whether it could remove the journal. Under the second nobody has one.
            check(sqlite3_exec(database_.get(), "ROLLBACK; BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
        } catch (const DatabaseFailure& failure) {
            keepsReserve(file_);
            if (failure.status == errSecInteractionNotAllowed) throw;
            refuseToRenew(sqlite3_errstr(failure.code));
        }
        if (hasJournal()) refuseToRenew("it cannot be removed");
    }

  private:
    bool hasJournal() const {
        std::error_code error;
        return fs::exists(fs::symlink_status(file_.string() + "-journal", error));
    }

    [[noreturn]] void refuseToRenew(const std::string& why) const {
        refuse(file_.string() + "-journal",
               "cannot be written (" + why + "), so that a renewed token could not be kept");
    }

    void change(KeychainChange change) {
        if (changes_.empty()) before_ = items(KeychainQuery());
        changes_.push_back(std::move(change));
        attempt([this] { make(changes_.back()); });
    }

    void make(const KeychainChange& change) {
        if (!change.before)
            Statement(database_.get(), insertItem).bindItem(*change.after).step();
        else if (change.after)
            Statement(database_.get(), updateItem)
                .bindItem(*change.after)
                .bindIdentity(*change.before)
                .step();
        else
            Statement(database_.get(), deleteItem).bindIdentity(*change.before).step();
    }

    void end() { check(sqlite3_exec(database_.get(), "COMMIT", nullptr, nullptr, nullptr)); }

    template <typename Work>
    void attempt(Work work) {
        try {
            work();
        } catch (const DatabaseFailure& failure) {
            if (!mayBeForWantOfSpace(failure)) throw;
            database_.reset();
            const bool hasRoom = reserveOf(file_).release();
            if (!isRedone(hasRoom)) throw;
        }
    }

    /// Whether all changes so far are made after all.
    bool isRedone(bool hasRoom) {
        database_ = openToWrite(file_, patience_);
        const bool isNew = isBlank(database_.get());
        if (isNew && !hasRoom) return false;
        if (isNew) createSchema();
        const auto found = items(KeychainQuery());
        auto after = before_;
        for (const KeychainChange& change : changes_) change.applyTo(after);
        if (found == before_) {
            if (!hasRoom) return false;
            for (const KeychainChange& change : changes_) make(change);
        } else if (found == after) {
            // The commit that failed had gone far enough.
            end();
        } else {
            throw KeychainFailure{errSecInteractionNotAllowed,
                                  "another program has changed the keychain meanwhile"};
        }
        return true;
    }

    fs::path file_;
    std::chrono::milliseconds patience_;
    Database database_;
    /// Every item as it was before the first change.
    std::vector<KeychainItem> before_;
    KeychainChanges changes_;
};

}  // namespace

std::unique_ptr<KeychainTransaction> EmbeddedItemStore::begin(Access access) {
    // Nothing has been done yet, and nobody gives a renewed pair of tokens a second time: what goes wrong in
    // passing, no descriptor or no memory left or a read that fails, is tried again.
    try {
        return begunOnce(access);
    } catch (const KeychainFailure& failure) {
        if (failure.status != errSecIO) throw;
    } catch (const FileError&) {
    } catch (const std::bad_alloc&) {
    }
    return begunOnce(access);
}

std::unique_ptr<KeychainTransaction> EmbeddedItemStore::begunOnce(Access access) {
    if (access == Access::create) createPrivately(file_);
    if (!isPresent(file_)) {
        if (access == Access::create) throw KeychainFailure{errSecIO};
        return nullptr;
    }
    const bool isRead = access == Access::read;
    const auto patience = isRead || access == Access::readToChange ? patience_.read : patience_.write;
    Database database = isRead ? open(file_, patience) : openToWrite(file_, patience);
    const bool isNew = isBlank(database.get());
    if (isNew && access != Access::create) return nullptr;
    if (!isNew) requireOwnForm(file_, database.get());
    if (!isNew && !isRead) requireSound(file_, database.get());
    auto transaction = std::make_unique<DatabaseTransaction>(file_, patience, std::move(database));
    if (isNew) transaction->createSchema();
    return transaction;
}

std::unique_ptr<SecItemLock> EmbeddedItemStore::lock(SecItemHold hold) {
    const auto lockFile = [file = file_](SecItemHold wanted) -> std::optional<LockFile> {
        if (!isPresent(file) && wanted == SecItemHold::shared) return std::nullopt;
        return LockFile::open(fs::path(file).replace_extension(".lock"));
    };
    // To take tokens away needs no room of its own; to spend one that changes with its use does.
    const auto prepare = [this](SecItemHold wanted) {
        if (wanted == SecItemHold::exclusive) return;
        rehearseChange();
        if (!keepsReserve(file_)) refuse(file_.parent_path(), "has no room for a renewed token");
    };
    return std::make_unique<KeychainLock>(hold,
                                          KeychainLock::Store{.lockFile = lockFile, .prepare = prepare});
}

}  // namespace platform
