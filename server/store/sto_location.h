// Where the store of a database set lives.
//
//   ZT_SERVER_STORE set:   that location, for every database set (a file shared by
//                          whoever its permissions allow, or a PostgreSQL connection
//                          string: one database shared by the servers of a team)
//   unset:                 <data>/ztintsvr/<set>.db, one private file per database set,
//                          where <data> is $XDG_DATA_HOME, else ~/.local/share. The
//                          directory is made mode 0700 when missing.
#pragma once

#include <string>

// The location for database set, or "" with a text in error.
[[nodiscard]] std::string Sto_Location(const std::string& database_set, std::string& error);
