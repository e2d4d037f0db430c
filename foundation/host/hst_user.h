// Hst_User: who the user is, from the system's user and group databases. Names go to
// and come from the default charset; a name that cannot be converted counts as a name
// that is not there.
#pragma once

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

class Hst_User {
public:
    static const Code_Unit* const Invalid_Name;  // "<invalid>"
    static const Code_Unit* const Unknown_Name;  // "<unknown>"

    // The effective user id; the id of a user name, or -1.
    static long User_Id();
    static long User_Id(const Fnd_String& Name);

    // The effective user's name. For an id: "<invalid>" for -1 or a name that cannot be
    // converted, "uid_<id>" for an id with no entry.
    static Fnd_String Name();
    static void Name(Fnd_String& Out);
    static void Name(long Id, Fnd_String& Out);
    // The comment field of User's entry up to the first ","; "<unknown>" without one.
    static void Full_Name(const Fnd_String& User, Fnd_String& Out);
    // The name of User's primary group; "<unknown>" when User has no entry.
    static void Group_Name(const Fnd_String& User, Fnd_String& Out);

    // The effective group id; the id of a group name, or -1.
    static long Group_Id();
    static long Group_Id(const Fnd_String& Name);
    // Id is the effective group.
    static long Is_Primary(long Id);
    // Id is the effective group or a supplementary group of the process.
    static long Is_Member(long Id);
    static long Is_Supplemental_Group(long Id);
    // A new array (delete[]) of the process's supplementary group ids, all of them.
    static void Groups(long*& Array, long& Count);
    // Does nothing; 0.
    static long Set_Current_Groups();

    // As Name, for groups: "gid_<id>" for an id with no entry.
    static Fnd_String Group();
    static void Group(Fnd_String& Out);
    static void Group(long Id, Fnd_String& Out);

    // With a user name: that user's home directory, or empty. With an empty name: the
    // HOME variable, else the effective user's entry. The result lives in a static string
    // until the next call of the same form.
    static const Fnd_String& Home_Directory(const Fnd_String& User);

    // The shell of the effective user's or Id's entry; empty with no entry.
    static Fnd_String Login_Shell();
    static void Login_Shell(Fnd_String& Out);
    static void Login_Shell(long Id, Fnd_String& Out);
};
