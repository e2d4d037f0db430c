// Utl_File_Data: a light record of one path, read by lstat. For a symbolic link it
// keeps the mode of the link's target beside the link's own, when asked to follow it.
#pragma once

#include <cstdint>

class Fnd_String;

class Utl_File_Data {
public:
    unsigned long Mode = 0;          // of the file, or of the link itself
    long Owner = 0;
    long Group = 0;
    int64_t Size = 0;
    long Modified = 0;               // seconds
    long Is_Link = 0;
    unsigned long Link_Mode = 0;     // of the target; 0 if not looked at or not readable
    long Link_Is_Directory = 0;

    Utl_File_Data() = default;
    Utl_File_Data(const Fnd_String& Path, long Follow) { Initialize(Path, Follow); }

    // Reads Path; a path that cannot be converted or read leaves the record nil. A link
    // read without Follow counts as a directory (its target isn't looked at).
    void Initialize(const Fnd_String& Path, long Follow);
    void Reuse(const Fnd_String& Path, long Follow) { Initialize(Path, Follow); }

    long Is_Nil() const { return Mode == 0; }
    void Make_Nil() { *this = Utl_File_Data(); }

    // A link: Link_Is_Directory; else the mode.
    long Is_Directory() const;

    // Bits given in the owner's place (0400, 0200, 0100, or a union) must all be set
    // for the effective user: the owner's bits if it owns the file, else the group's if
    // the real group is the file's, else the others'. A link is judged by its target.
    long Check_Access(unsigned long Bits) const;
    long Is_Readable() const { return Check_Access(0400); }
    long Is_Writable() const { return Check_Access(0200); }
    long Is_Executable() const { return Check_Access(0100); }

    // One permission bit: of Link_Mode for a link unless Own, else of Mode.
    long User_Reads(long Own) const { return Bit(0400, Own); }
    long User_Writes(long Own) const { return Bit(0200, Own); }
    long User_Executes(long Own) const { return Bit(0100, Own); }
    long Group_Reads(long Own) const { return Bit(0040, Own); }
    long Group_Writes(long Own) const { return Bit(0020, Own); }
    long Group_Executes(long Own) const { return Bit(0010, Own); }
    long Others_Reads(long Own) const { return Bit(0004, Own); }
    long Others_Writes(long Own) const { return Bit(0002, Own); }
    long Others_Executes(long Own) const { return Bit(0001, Own); }

    // Nine characters in the manner of a directory listing, of the same choice of mode.
    void Acl_Image(Fnd_String& Text, long Own) const;

    // At 2 or more each reading is traced on the output stream.
    static void Set_Trace(long Level);

private:
    unsigned long Chosen_Mode(long Own) const { return Is_Link && !Own ? Link_Mode : Mode; }
    long Bit(unsigned long Mask, long Own) const { return (Chosen_Mode(Own) & Mask) != 0; }
};
