#include "foundation/base/fnd_char.h"

#include "ztcoreutil/tchar.h"

long Fnd_Ctype::Is_Alphanumeric(const Fnd_Char C) { return _istalnum(C) != 0; }
long Fnd_Ctype::Is_Alphabetic(const Fnd_Char C) { return _istalpha(C) != 0; }
long Fnd_Ctype::Is_Control(const Fnd_Char C) { return _istcntrl(C) != 0; }
long Fnd_Ctype::Is_Digit(const Fnd_Char C) { return _istdigit(C) != 0; }
long Fnd_Ctype::Is_Hex_Digit(const Fnd_Char C) { return _istxdigit(C) != 0; }
long Fnd_Ctype::Is_Graphic(const Fnd_Char C) { return _istgraph(C) != 0; }
long Fnd_Ctype::Is_Lower(const Fnd_Char C) { return _istlower(C) != 0; }
long Fnd_Ctype::Is_Printable(const Fnd_Char C) { return _istprint(C) != 0; }
long Fnd_Ctype::Is_Punctuation(const Fnd_Char C) { return _istpunct(C) != 0; }
long Fnd_Ctype::Is_Space(const Fnd_Char C) { return _istspace(C) != 0; }
long Fnd_Ctype::Is_Upper(const Fnd_Char C) { return _istupper(C) != 0; }
long Fnd_Ctype::Is_Identifier(const Fnd_Char C) { return C == u'_' || _istalnum(C) != 0; }
