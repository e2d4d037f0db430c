// Svr_Users: the server's own small store of who may log on to which database.
//
// The store is a text file, one entry per line, four fields separated by blanks:
//
//     <user> <password> <database> <database set>
//
// A user may have several lines, one per database. Empty lines and lines starting
// with "#" are skipped. Without a file the store holds one entry, the default user
// of the examples: "zentrak" with password "zentrak" on database "DEMO" of set
// "MASTER".
#pragma once

#include <string>
#include <vector>

class Svr_Users {
public:
    struct Entry {
        std::string User, Password, Database, Master;
    };

    // The store with only the default user.
    static Svr_Users Default_Store();
    // Reads path. A missing file gives the default store; a file that cannot be read
    // or has a line without four fields gives false and a text in error.
    static bool Load(const std::string& path, Svr_Users& store, std::string& error);

    // "" if the four values name an entry, else the server's refusal text.
    std::string Check(const std::string& user, const std::string& password,
                      const std::string& database, const std::string& master) const;

    const std::vector<Entry>& Entries() const { return Store; }

private:
    std::vector<Entry> Store;
};
