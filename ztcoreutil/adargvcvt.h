// Whole argument vectors and single strings between 16-bit text and the bytes of the
// default charset, strictly (cvt_stop). The converted strings are malloc copies.
//
//   taargvcvt args(argv16);
//   if (!args.valid()) ... a string did not convert ...
//   execvp(args.cvt()[0], args.cvt());
#pragma once

#include "foundation/base/fnd_code_unit.h"

// 16-bit arguments to bytes. A string that does not convert makes the vector invalid
// and ends it before that string.
class taargvcvt {
public:
    explicit taargvcvt(const Code_Unit* const* Argv);
    ~taargvcvt();
    taargvcvt(const taargvcvt&) = delete;
    taargvcvt& operator=(const taargvcvt&) = delete;

    bool valid() const { return Valid; }
    // The converted vector, ended by a null.
    char** cvt() const { return Vector; }

private:
    char** Vector = nullptr;
    bool Valid = false;
};

// Byte arguments to 16 bits. A string that does not convert makes the vector invalid;
// it goes on, with an empty string in the place of the failed one.
class atargvcvt {
public:
    explicit atargvcvt(const char* const* Argv);
    ~atargvcvt();
    atargvcvt(const atargvcvt&) = delete;
    atargvcvt& operator=(const atargvcvt&) = delete;

    bool valid() const { return Valid; }
    Code_Unit** cvt() const { return Vector; }

private:
    Code_Unit** Vector = nullptr;
    bool Valid = false;
};

// A malloc copy of Text in the other form; null for a null Text, a text that does not
// convert, or no memory. Release either with Hst_strfree.
char* Hst_tastrdup(const Code_Unit* Text);
Code_Unit* Hst_atstrdup(const char* Text);
void Hst_strfree(void* Text);
