#include "foundation/base/fnd_subsystems.h"

#include "foundation/base/fnd_string.h"

// The strings live to the end of the process: messages may be imaged from the
// destructors of other statics.
const Fnd_String& Fnd::Name() {
    static const Fnd_String* name = new Fnd_String(u"Base");
    return *name;
}

const Fnd_String& Kor::Name() {
    static const Fnd_String* name = new Fnd_String(u"Abstract_Types");
    return *name;
}

const Fnd_String& Utl_Editor_Utilities::Name() {
    static const Fnd_String* name = new Fnd_String(u"Editor_Utilities");
    return *name;
}

const Fnd_String& Hst::Name() {
    static const Fnd_String* name = new Fnd_String(u"Host_Interface");
    return *name;
}

const Fnd_String& Tio::Name() {
    static const Fnd_String* name = new Fnd_String(u"Input_Output");
    return *name;
}
