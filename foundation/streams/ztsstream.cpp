#include "foundation/streams/ztsstream.h"

namespace {

std::ios_base::openmode Open_Mode(int Mode) { return static_cast<std::ios_base::openmode>(Mode); }

}  // namespace

ztstringbuf::ztstringbuf(int Mode) : ztstreambuf(&Text, true), Text(Open_Mode(Mode)) {}

ztstringbuf::ztstringbuf(const AdMbcsString& Init, int Mode)
    : ztstreambuf(&Text, true), Text(Init.getString(), Open_Mode(Mode)) {}

AdMbcsString ztstringbuf::str() const {
    // Pending units belong to the text; converting them changes no visible state.
    const_cast<ztstringbuf*>(this)->send_output(true);
    return AdMbcsString(getcharset(), Text.str());
}

void ztstringbuf::str(const AdMbcsString& New_Text) {
    discard_areas();
    Text.str(New_Text.getString());
}
