// Hst_File_Info: what the system knows of a file. For now only the image of a set of
// permissions.
#pragma once

class Fnd_String;

class Hst_File_Info {
public:
    // Nine characters in the manner of a directory listing ("rwxr-x---"), "-" for a
    // bit that is not set, and "s" (with execute) or "S" (without) in the execute place
    // of user and group for the set-id bits.
    static Fnd_String Permissions_Image(unsigned long Mode);
};
