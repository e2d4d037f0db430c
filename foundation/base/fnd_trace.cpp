#include "foundation/base/fnd_trace.h"

#include <ostream>

#include "foundation/streams/ztconsole.h"

void Fnd_Trace_Line(const Code_Unit* Class_Name, const Fnd_String& Text) {
    thread_local bool printing = false;
    if (printing) return;
    printing = true;
    Fnd_String line(u"==> ");
    line.Append(Class_Name);
    line.Append(u": ");
    line.Append(Text);
    get_ztcout() << line << std::endl;
    printing = false;
}
