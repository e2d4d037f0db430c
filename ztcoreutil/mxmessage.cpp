#include "ztcoreutil/mxmessage.h"

#include <cstdio>

#include "foundation/base/fnd_assert.h"
#include "foundation/streams/ztconsole.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

struct AdComponetID_s {
    int Lower;
    int Upper;
    const Code_Unit* Name;
};

// The message numbers of the product's components, both bounds inclusive.
constexpr AdComponetID_s Component_Ranges[] = {
    {2001, 3000, u"UT"},   {8501, 9000, u"MF"},   {12001, 13980, u"MD"}, {13981, 14000, u"PI"},
    {14001, 15000, u"UD"}, {15861, 15880, u"IR"}, {16001, 18000, u"QU"}, {18001, 19000, u"CU"},
    {19001, 20000, u"DB"}, {22001, 22050, u"MG"}, {22051, 22100, u"DT"}, {22101, 22150, u"PM"},
    {23051, 23150, u"CD"}, {23151, 23300, u"OM"}, {25851, 25860, u"EM"}, {25901, 25950, u"MH"},
    {25951, 26000, u"IT"}, {26901, 27300, u"MS"}, {27301, 27400, u"XP"}, {28176, 28200, u"SU"},
    {28201, 28225, u"SM"}, {28269, 28369, u"TS"}, {29000, 29100, u"TP"},
};

constexpr Code_Unit prefix_ZT[] = u"XKM";
constexpr const Code_Unit* severity_type[] = {u"", u"I", u"W", u"E"};

MxMessage::Tagged_Callback Tagged_Message_Callback = nullptr;

Fnd_String Ascii(const char* Bytes) {
    Fnd_String text;
    for (; *Bytes; ++Bytes) text.Append(Fnd_Char(static_cast<unsigned char>(*Bytes)));
    return text;
}

template <class... Args>
Fnd_String Printed(const char* Format, Args... Values) {
    char bytes[512];
    std::snprintf(bytes, sizeof bytes, Format, Values...);
    return Ascii(bytes);
}

// Replaces every occurrence of Token in Text by Value in one pass from the front. The
// search goes on behind each inserted value, so a value that holds its own token is
// inserted once, not again and again.
void Replace_All(Fnd_String& Text, const Fnd_String& Token, const Fnd_String& Value) {
    if (Token.Is_Empty()) return;
    int at = Text.Find(Token.Data(), 0);
    while (at >= 0) {
        Text.Delete(at, Token.Get_Length());
        Text.Insert(Value, at);
        at = Text.Find(Token.Data(), at + static_cast<int>(Value.Get_Length()));
    }
}

CTypedPtrList<CPtrList, MxMsgHandler*>& Handlers() {
    static CTypedPtrList<CPtrList, MxMsgHandler*> handlers;
    return handlers;
}

}  // namespace

// ---- MxMessage
MxMessage::MxMessage() : m_Params(10) {}

MxMessage::MxMessage(const int Id) : MxMessage() { ID(Id); }

MxMessage::MxMessage(const Fnd_String& Text) : MxMessage() { m_Msg = Text; }

MxMessage::MxMessage(const MxMessage& Other) : MxMessage() { *this = Other; }

MxMessage& MxMessage::operator=(const MxMessage& Other) {
    if (this == &Other) return *this;
    m_ID = Other.m_ID;
    m_Msg = Other.m_Msg;
    m_HelpID = Other.m_HelpID;
    m_HelpModule = Other.m_HelpModule;
    m_Type = Other.m_Type;
    m_Dest = Other.m_Dest;
    m_Dmod = Other.m_Dmod;
    m_Source = Other.m_Source;
    for (POSITION at = Other.m_Params.GetStartPosition(); at;) {
        Fnd_String name, value;
        Other.m_Params.GetNextAssoc(at, name, value);
        m_Params.SetAt(name, value);
    }
    return *this;
}

MxMessage& MxMessage::operator=(const Fnd_String& Text) { return Msg(Text); }
MxMessage& MxMessage::Msg(const Fnd_String& Text) {
    m_Msg = Text;
    return *this;
}

MxMessage& MxMessage::operator+=(const Fnd_String& Text) {
    m_Msg.Append(Text);
    return *this;
}
MxMessage& MxMessage::operator<<(const Fnd_String& Text) { return *this += Text; }
MxMessage& MxMessage::operator<<(const Code_Unit* Text) {
    if (Text) m_Msg.Append(Text);
    return *this;
}
MxMessage& MxMessage::operator<<(short Value) { return *this << long{Value}; }
MxMessage& MxMessage::operator<<(int Value) { return *this << long{Value}; }
MxMessage& MxMessage::operator<<(long Value) { return *this += Printed("%ld", Value); }
MxMessage& MxMessage::operator<<(unsigned Value) { return *this << static_cast<unsigned long>(Value); }
MxMessage& MxMessage::operator<<(unsigned long Value) { return *this += Printed("%lu", Value); }
MxMessage& MxMessage::operator<<(float Value) { return *this << static_cast<double>(Value); }
MxMessage& MxMessage::operator<<(double Value) { return *this += Printed("%f", Value); }
MxMessage& MxMessage::operator<<(long double Value) {
    char bytes[128];
    std::snprintf(bytes, sizeof bytes, "%Lg", Value);
    Fnd_String text;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes, text,
                                  AdCharset::cvt_stop))
        text = Ascii(bytes);
    return *this += text;
}

void MxMessage::Init() {
    m_ID = 0;
    m_Msg.Make_Empty();
    m_HelpID = 0;
    m_HelpModule.Make_Empty();
    m_Type = MxMsg_Untyped;
    m_Dest = MxMsgDest{};
    m_Dmod.Make_Empty();
    m_Source.Make_Empty();
    m_Params.RemoveAll();
    m_Delivered = 0;
    m_Load_Failed = 0;
    m_BeginDelim = u"%";
    m_EndDelim = u"%";
}

MxMessage& MxMessage::ID(const int Id) {
    m_ID = Id;
    if (!m_Msg.LoadString(static_cast<unsigned>(Id))) {
        m_Msg = Printed("Unable to load message ID %d from resources.\n", Id);
        m_Load_Failed = 1;
    }
    Param(u"msgid", Printed("%d", Id));
    return *this;
}

MxMessage& MxMessage::HelpID(const int Id) {
    m_HelpID = Id;
    return *this;
}
MxMessage& MxMessage::HelpModule(const Fnd_String& Module) {
    m_HelpModule = Module;
    return *this;
}
MxMessage& MxMessage::Type(const MxMsgType Type) {
    m_Type = Type;
    AddPrefix();
    return *this;
}
MxMessage& MxMessage::Dest(const MxMsgDest Dest) {
    m_Dest = Dest;
    return *this;
}
MxMessage& MxMessage::Dmod(const Fnd_String& Dmod) {
    m_Dmod = Dmod;
    return *this;
}
MxMessage& MxMessage::Delivered(const int Delivered) {
    m_Delivered = Delivered;
    return *this;
}
MxMessage& MxMessage::BeginDelim(const Fnd_String& Delimiter) {
    m_BeginDelim = Delimiter;
    return *this;
}
MxMessage& MxMessage::EndDelim(const Fnd_String& Delimiter) {
    m_EndDelim = Delimiter;
    return *this;
}

MxMessage& MxMessage::Source(const Code_Unit* Where, const Code_Unit* File, const int Line) {
    Fnd_String file(File ? File : u"");
    for (Code_Unit separator : {u'/', u'\\'}) {
        const int last = file.ReverseFind(separator);
        if (last >= 0) file = file.Mid(last + 1);
    }
    m_Source = Where ? Where : u"";
    m_Source.Append(u":");
    m_Source.Append(file);
    m_Source.Append(u":");
    m_Source.Append(Printed("%d", Line));
    return *this;
}

void MxMessage::AddPrefix() {
    if (m_Type != MxMsg_Error) return;
    if (m_Msg.Compare(0, 3, prefix_ZT, 0)) return;  // already coded
    Fnd_String code;
    if (!GetLogR2Id(m_ID, code)) return;
    Fnd_String text(prefix_ZT);
    text.Append(code);
    text.Append(severity_type[m_Type]);
    text.Append(u" ");
    text.Append(m_Msg);
    m_Msg = text;
}

MxMessage& MxMessage::Param(const Fnd_String& Name, const Fnd_String& Value) {
    Fnd_String name = Name;
    Replace_All(name, Fnd_String(u"%"), Fnd_String());
    m_Params.SetAt(name, Value);
    return *this;
}
MxMessage& MxMessage::SetParam(const Code_Unit* Name, const Code_Unit* Value) {
    return Param(Fnd_String(Name ? Name : u""), Fnd_String(Value ? Value : u""));
}
MxMessage& MxMessage::SetParam(const Fnd_String& Name, const Fnd_String& Value) {
    return Param(Name, Value);
}
MxMessage& MxMessage::SetParam(const Code_Unit* Name, long Value) {
    return Param(Fnd_String(Name ? Name : u""), Printed("%ld", Value));
}

long MxMessage::GetParam(const Fnd_String& Name, Fnd_String& Value) const {
    return m_Params.Lookup(Name, Value);
}

void MxMessage::FullMsg(Fnd_String& Out) const {
    Out = m_Msg;
    if (m_Load_Failed) {
        Out.Append(u"Message parameters are:\n");
        for (POSITION at = m_Params.GetStartPosition(); at;) {
            Fnd_String name, value;
            m_Params.GetNextAssoc(at, name, value);
            Out.Append(u" ");
            Out.Append(name);
            Out.Append(u"=");
            Out.Append(value);
            Out.Append(u"\n");
        }
    } else {
        for (POSITION at = m_Params.GetStartPosition(); at;) {
            Fnd_String name, value;
            m_Params.GetNextAssoc(at, name, value);
            Fnd_String token = m_BeginDelim;
            token.Append(name);
            token.Append(m_EndDelim);
            Replace_All(Out, token, value);
        }
    }
    if (Tagged_Message_Callback && m_Type != MxMsg_Untyped) Tagged_Message_Callback(Out, m_Params, m_ID);
}

Fnd_String MxMessage::FullMsg() const {
    Fnd_String text;
    FullMsg(text);
    return text;
}

void MxMessage::Deliver(int Force) {
    if (m_Delivered && !Force) return;
    MxMsgHandler::Handle(*this);
}

void MxMessage::InitTaggedMsgCallback(Tagged_Callback Callback) { Tagged_Message_Callback = Callback; }

void MxMessage::DumpIDRanges() {
    ztostream& out = get_ztcout();
    for (const AdComponetID_s& row : Component_Ranges) {
        Fnd_String line(u"ID Range for Componnet ");
        line.Append(row.Name);
        line.Append(u" from ");
        line.Append(Printed("%d", row.Lower));
        line.Append(u" to ");
        line.Append(Printed("%d", row.Upper));
        line.Append(u"\n");
        out.write(line.Data(), line.Get_Length());
    }
    out.flush();
}

int GetLogR2Id(const int Id, Fnd_String& Out) {
    for (const AdComponetID_s& row : Component_Ranges) {
        if (row.Lower <= Id && Id <= row.Upper) {
            Out = row.Name;
            Out.Append(Printed("%.4d", Id - row.Lower));
            return 1;
        }
    }
    return 0;
}

// ---- MxMsgHandler
MxMsgHandler::MxMsgHandler() { Handlers().AddHead(this); }

MxMsgHandler::~MxMsgHandler() {
    const POSITION at = Handlers().Find(this);
    Fnd_Assert(at != nullptr, u"pos != NULL");
    Handlers().RemoveAt(at);
}

MxMsgHandler& MxMsgHandler::SetIsMatch(Match_Function Function) {
    m_IsMatch = Function;
    return *this;
}
MxMsgHandler& MxMsgHandler::SetProcess(Process_Function Function) {
    m_Process = Function;
    return *this;
}
MxMsgHandler& MxMsgHandler::SetCleanup(Cleanup_Function Function) {
    m_Cleanup = Function;
    return *this;
}
MxMsgHandler& MxMsgHandler::Activate() {
    m_Active = 1;
    return *this;
}
MxMsgHandler& MxMsgHandler::Deactivate() {
    m_Active = 0;
    return *this;
}

int MxMsgHandler::IsMatch(MxMessage& Message) const { return m_IsMatch ? m_IsMatch(&Message) : 0; }
void MxMsgHandler::Process(MxMessage& Message) {
    if (m_Process) m_Process(&Message);
}
void MxMsgHandler::Cleanup() {
    if (m_Cleanup) m_Cleanup();
}

POSITION MxMsgHandler::GetFirstHandlerPos() { return Handlers().GetHeadPosition(); }

POSITION MxMsgHandler::GetNextHandlerPos(POSITION Position) {
    if (Position == nullptr) return nullptr;
    (void)Handlers().GetNext(Position);
    return Position;
}

MxMsgHandler* MxMsgHandler::GetHandlerAt(POSITION Position) {
    if (Position == nullptr || Handlers().IsEmpty()) return nullptr;
    return Handlers().GetAt(Position);
}

void MxMsgHandler::Handle(MxMessage& Message) {
    for (POSITION at = GetFirstHandlerPos(); at; at = GetNextHandlerPos(at)) {
        MxMsgHandler* handler = GetHandlerAt(at);
        Fnd_Assert(handler != nullptr, u"handler != NULL");
        if (handler->m_Active && handler->m_IsMatch && handler->IsMatch(Message)) {
            handler->Process(Message);
            Message.Delivered(1);
        }
    }
}

void MxMsgHandler::Flush() {
    for (POSITION at = GetFirstHandlerPos(); at; at = GetNextHandlerPos(at)) {
        MxMsgHandler* handler = GetHandlerAt(at);
        Fnd_Assert(handler != nullptr, u"handler != NULL");
        handler->Cleanup();
    }
}
