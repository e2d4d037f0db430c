// Binding the parameters and reading the columns of one prepared SQLite statement: what
// the store's statements and the readers' cursors share.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "server/store/sto_engine.h"

// A refusal of SQLite as the store's error: busy (another writer holds the file) or not.
[[noreturn]] inline void Sto_Sqlite_Throw(sqlite3* db, int code, const std::string& what)
{
    const std::string text = what + ": " + (db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code));
    if (code == SQLITE_BUSY || code == SQLITE_LOCKED)
        throw Sto_Busy(text);
    throw Sto_Error(text);
}

// Interface is Sto_Statement or one derived from it; the derived class prepares Handle
// and finalises it.
template <class Interface>
class Sto_Sqlite_Values : public Interface {
public:
    Sto_Statement& Bind(int index, std::string_view text) override
    {
        Check(sqlite3_bind_text(Handle, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT));
        return *this;
    }
    Sto_Statement& Bind(int index, int64_t number) override
    {
        Check(sqlite3_bind_int64(Handle, index, number));
        return *this;
    }
    Sto_Statement& Bind_Blob(int index, const std::vector<unsigned char>& bytes) override
    {
        // An empty vector has no data pointer, which SQLite would store as NULL.
        Check(bytes.empty() ? sqlite3_bind_zeroblob(Handle, index, 0)
                            : sqlite3_bind_blob64(Handle, index, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
        return *this;
    }
    Sto_Statement& Bind_Null(int index) override
    {
        Check(sqlite3_bind_null(Handle, index));
        return *this;
    }

    bool Is_Null(int column) override { return sqlite3_column_type(Handle, column) == SQLITE_NULL; }
    std::string Text(int column) override
    {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(Handle, column));
        return text != nullptr ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(Handle, column)))
                               : std::string();
    }
    int64_t Number(int column) override { return sqlite3_column_int64(Handle, column); }
    std::vector<unsigned char> Blob(int column) override
    {
        const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(Handle, column));
        const int size = sqlite3_column_bytes(Handle, column);
        return bytes != nullptr ? std::vector<unsigned char>(bytes, bytes + size) : std::vector<unsigned char>();
    }

protected:
    Sto_Sqlite_Values(sqlite3* db, sqlite3_stmt* handle) : Db(db), Handle(handle) {}

    sqlite3* Db;
    sqlite3_stmt* Handle;

private:
    void Check(int code)
    {
        if (code != SQLITE_OK)
            Sto_Sqlite_Throw(Db, code, "cannot bind a value");
    }
};
