// The files a user's client and server keep in /tmp: the pipe, the start lock, the
// status file and the clients' sockets. Their names come from the effective user id
// and ZTT_USER, and another user can put something at any such name first; these
// checks turn that into a clear failure instead of a stall or a misleading text.
#pragma once

#include <string>

// "" if ZTT_USER keeps the pipe's name a single file name in /tmp that leaves room
// for the names made from it, else the reason, starting "ztintsvr: ".
std::string ZTInt_Server_User_Problem();

// "" if nothing is at path, or only a file of type file_type (S_IFSOCK, S_IFREG, ...)
// that belongs to this user and that no one else may read or write; else the reason,
// naming the path, what is there and its owner. what says what the path is for.
std::string ZTInt_Private_File_Problem(const std::string& path, unsigned file_type,
                                       const char* what);

// The name of the user with id uid, or the number if it has no name.
std::string ZTInt_User_Name(unsigned uid);
