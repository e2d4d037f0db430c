#include "server/store/sto_sqlite.h"

#include "server/store/sto_postgres.h"
#include "server/store/sto_sqlite_reader.h"
#include "server/store/sto_sqlite_values.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <unordered_map>
#include <vector>

namespace {

class Sqlite_Statement final : public Sto_Sqlite_Values<Sto_Statement> {
public:
    // reading: where the statement notes itself when it stops on a row, so that the
    // end of a request resets only the statements that hold a read open.
    Sqlite_Statement(sqlite3* db, const std::string& sql, std::vector<Sqlite_Statement*>& reading)
        : Sto_Sqlite_Values(db, nullptr), Reading(reading)
    {
        const int code = sqlite3_prepare_v3(db, sql.c_str(), static_cast<int>(sql.size()),
                                            SQLITE_PREPARE_PERSISTENT, &Handle, nullptr);
        if (code != SQLITE_OK)
            Sto_Sqlite_Throw(db, code, "cannot prepare a statement of the store");
    }
    ~Sqlite_Statement() override { sqlite3_finalize(Handle); }
    Sqlite_Statement(const Sqlite_Statement&) = delete;
    Sqlite_Statement& operator=(const Sqlite_Statement&) = delete;

    void Restart()
    {
        sqlite3_reset(Handle);
        sqlite3_clear_bindings(Handle);
        On_Row = false;
    }
    // Ends a read left on a row; the bindings stay.
    void Finish()
    {
        if (On_Row)
            sqlite3_reset(Handle);
        On_Row = false;
    }

    bool Next() override
    {
        const int code = sqlite3_step(Handle);
        if (code == SQLITE_ROW) {
            if (!On_Row)
                Reading.push_back(this);
            On_Row = true;
            return true;
        }
        On_Row = false;
        if (code == SQLITE_DONE)
            return false;
        // The statement is reset so that a later use starts clean.
        sqlite3_reset(Handle);
        Sto_Sqlite_Throw(Db, code, "the store refused a statement");
    }

private:
    std::vector<Sqlite_Statement*>& Reading;
    bool On_Row = false;
};

class Sqlite_Connection final : public Sto_Connection {
public:
    Sqlite_Connection(const std::string& path, const Sto_Sqlite_Options& options)
        : Path(path), Options(options)
    {
        Create_Private(path);
        const int code = sqlite3_open_v2(path.c_str(), &Db,
                                         SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
        if (code != SQLITE_OK) {
            const std::string text = "cannot open the store " + path;
            sqlite3_close(Db);
            Db = nullptr;
            Sto_Sqlite_Throw(nullptr, code, text);
        }
        sqlite3_extended_result_codes(Db, 0);
        sqlite3_busy_timeout(Db, options.Busy_Timeout_Ms);
        // WAL: readers never block the one writer, and a commit is one append.
        // synchronous=FULL: a commit is on disk (WAL synced) before it is reported
        // done, so a commit that returned "" survives a power loss as well as a
        // killed server; NORMAL would survive only the latter, for one fsync less.
        Execute_Script("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
    }
    ~Sqlite_Connection() override
    {
        Statements.clear();
        sqlite3_close(Db);
    }

    Sto_Statement& Prepare(const std::string& sql) override
    {
        auto found = Statements.find(sql);
        if (found == Statements.end())
            found = Statements.emplace(sql, std::make_unique<Sqlite_Statement>(Db, sql, Reading)).first;
        found->second->Restart();
        return *found->second;
    }

    void Finish_Reads() override
    {
        for (Sqlite_Statement* statement : Reading)
            statement->Finish();
        Reading.clear();
    }

    void Execute_Script(const std::string& sql) override
    {
        char* message = nullptr;
        const int code = sqlite3_exec(Db, sql.c_str(), nullptr, nullptr, &message);
        if (code != SQLITE_OK) {
            const std::string text = message != nullptr ? message : sqlite3_errstr(code);
            sqlite3_free(message);
            if (code == SQLITE_BUSY)
                throw Sto_Busy("the store is busy: " + text);
            throw Sto_Error("the store refused a statement: " + text);
        }
    }

    std::unique_ptr<Sto_Reader> Open_Reader(const std::vector<Sto_View>& views) override
    {
        return Sto_Open_Sqlite_Reader(Path, Options.Busy_Timeout_Ms, views);
    }
    std::string Engine_Name() const override { return "SQLite"; }

protected:
    // A statement left on a row would keep an old snapshot, and a write on top of
    // it fails at once instead of waiting for the other writer.
    void Begin_Outer() override
    {
        Finish_Reads();
        Prepare("BEGIN IMMEDIATE").Run();
    }
    void Commit_Outer() override
    {
        Finish_Reads();
        Prepare("COMMIT").Run();
    }
    void Rollback_Outer() noexcept override
    {
        Finish_Reads();
        if (!sqlite3_get_autocommit(Db))
            sqlite3_exec(Db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
    std::unique_ptr<Sto_Connection> Open_Again() const override
    {
        return std::make_unique<Sqlite_Connection>(Path, Options);
    }

private:
    // A new store file is made private before SQLite first opens it; its journal
    // files take the same mode.
    static void Create_Private(const std::string& path)
    {
        const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0)
            throw Sto_Error("cannot open the store " + path + ": " + std::strerror(errno));
        close(fd);
    }

    std::string Path;
    Sto_Sqlite_Options Options;
    sqlite3* Db = nullptr;
    std::vector<Sqlite_Statement*> Reading;  // statements that stopped on a row since the last Finish_Reads
    std::unordered_map<std::string, std::unique_ptr<Sqlite_Statement>> Statements;
};

}  // namespace

std::unique_ptr<Sto_Connection> Sto_Open_Sqlite(const std::string& path,
                                                const Sto_Sqlite_Options& options)
{
    return std::make_unique<Sqlite_Connection>(path, options);
}

std::unique_ptr<Sto_Connection> Sto_Open(const std::string& location)
{
    if (Sto_Is_Postgres_Location(location))
        return Sto_Open_Postgres(location);
    return Sto_Open_Sqlite(location);
}
