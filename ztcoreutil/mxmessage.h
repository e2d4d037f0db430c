// Numbered messages: a text loaded from the "Zentrak_core" catalog by number, with named
// parameters written %name% in the text, delivered to registered handlers or thrown
// inside an MxMsgException (mxmsgexception.h).
//
//   MxMessage message(18019);
//   message.SetParam(u"failed_expr", u"digit < 16");
//   Fnd_String text = message.FullMsg();   // parameters replaced
//
// An error message (Type(3)) of a number inside a component's range starts with its
// code: message 2105 reads "XKMUT0104E <text>".
#pragma once

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/ccollections.h"
#include "foundation/mfc/cmap.h"

enum MxMsgType { MxMsg_Untyped = 0, MxMsg_Information = 1, MxMsg_Warning = 2, MxMsg_Error = 3 };
// Stored and compared only: the meaning belongs to the handlers.
enum MxMsgDest : int {};

class MxMessage {
public:
    using Tagged_Callback = void (*)(Fnd_String& Text, const CMapStringToString& Params, long Id);

    MxMessage();
    explicit MxMessage(const int Id);
    explicit MxMessage(const Fnd_String& Text);
    MxMessage(const MxMessage& Other);
    // Copies all but Delivered, Load_Failed and the delimiters; parameters are added to
    // the ones held.
    MxMessage& operator=(const MxMessage& Other);
    MxMessage& operator=(const Fnd_String& Text);

    MxMessage& operator+=(const Fnd_String& Text);
    MxMessage& operator<<(const Fnd_String& Text);
    MxMessage& operator<<(const Code_Unit* Text);
    MxMessage& operator<<(short Value);
    MxMessage& operator<<(int Value);
    MxMessage& operator<<(long Value);
    MxMessage& operator<<(unsigned Value);
    MxMessage& operator<<(unsigned long Value);
    MxMessage& operator<<(float Value);
    MxMessage& operator<<(double Value);
    MxMessage& operator<<(long double Value);

    void Init();

    // Stores the number and loads its text; a number the catalog lacks gives a fallback
    // text and Load_Failed.
    MxMessage& ID(const int Id);
    int ID() const { return m_ID; }
    MxMessage& Msg(const Fnd_String& Text);
    const Fnd_String& Msg() const { return m_Msg; }
    MxMessage& HelpID(const int Id);
    int HelpID() const { return m_HelpID; }
    MxMessage& HelpModule(const Fnd_String& Module);
    const Fnd_String& HelpModule() const { return m_HelpModule; }
    // Stores the type; an error gets its component code in front of the text.
    MxMessage& Type(const MxMsgType Type);
    MxMsgType Type() const { return m_Type; }
    MxMessage& Dest(const MxMsgDest Dest);
    MxMsgDest Dest() const { return m_Dest; }
    MxMessage& Dmod(const Fnd_String& Dmod);
    const Fnd_String& Dmod() const { return m_Dmod; }
    // Where, the file's last path component, and the line: "Where:file.cpp:12".
    MxMessage& Source(const Code_Unit* Where, const Code_Unit* File, const int Line);
    const Fnd_String& Source() const { return m_Source; }
    MxMessage& Delivered(const int Delivered);
    int Delivered() const { return m_Delivered; }
    int Load_Failed() const { return m_Load_Failed; }
    MxMessage& BeginDelim(const Fnd_String& Delimiter);
    const Fnd_String& BeginDelim() const { return m_BeginDelim; }
    MxMessage& EndDelim(const Fnd_String& Delimiter);
    const Fnd_String& EndDelim() const { return m_EndDelim; }

    // Binds Name (with any "%" removed) to Value.
    MxMessage& Param(const Fnd_String& Name, const Fnd_String& Value);
    MxMessage& SetParam(const Code_Unit* Name, const Code_Unit* Value);
    MxMessage& SetParam(const Fnd_String& Name, const Fnd_String& Value);
    MxMessage& SetParam(const Code_Unit* Name, long Value);
    [[nodiscard]] long GetParam(const Fnd_String& Name, Fnd_String& Value) const;
    const CMapStringToString& Params() const { return m_Params; }

    // The finished text: parameters replaced, or listed behind a fallback text.
    void FullMsg(Fnd_String& Out) const;
    Fnd_String FullMsg() const;

    bool IsID(const int Id) const { return m_ID == Id; }
    bool IsType(const MxMsgType Type) const { return m_Type == Type; }
    bool IsDest(const MxMsgDest Dest) const { return m_Dest == Dest; }
    bool IsDmod(const Fnd_String& Dmod) const { return m_Dmod == Dmod; }
    bool IsDelivered() const { return m_Delivered != 0; }

    // Hands the message to the handlers unless it was delivered and Force is 0.
    void Deliver(int Force);

    static void InitTaggedMsgCallback(Tagged_Callback Callback);
    static void DumpIDRanges();

private:
    void AddPrefix();

    int m_ID = 0;
    Fnd_String m_Msg;
    int m_HelpID = 0;
    Fnd_String m_HelpModule;
    MxMsgType m_Type = MxMsg_Untyped;
    MxMsgDest m_Dest{};
    Fnd_String m_Dmod;
    Fnd_String m_Source;
    CMapStringToString m_Params;
    int m_Delivered = 0;
    int m_Load_Failed = 0;
    Fnd_String m_BeginDelim{u"%"};
    Fnd_String m_EndDelim{u"%"};
};

// The component code of a message number: 1 and "UT0104" for 2105; 0 outside the table.
[[nodiscard]] int GetLogR2Id(const int Id, Fnd_String& Out);

// A receiver of messages. A handler enters the head of the process's list when made
// and leaves it when destroyed; Handle gives a message to every active, matching one.
class MxMsgHandler {
public:
    using Match_Function = int (*)(MxMessage*);
    using Process_Function = void (*)(MxMessage*);
    using Cleanup_Function = void (*)();

    MxMsgHandler();
    ~MxMsgHandler();
    MxMsgHandler(const MxMsgHandler&) = delete;
    MxMsgHandler& operator=(const MxMsgHandler&) = delete;

    MxMsgHandler& SetIsMatch(Match_Function Function);
    MxMsgHandler& SetProcess(Process_Function Function);
    MxMsgHandler& SetCleanup(Cleanup_Function Function);
    MxMsgHandler& Activate();
    MxMsgHandler& Deactivate();
    bool Is_Active() const { return m_Active != 0; }

    int IsMatch(MxMessage& Message) const;
    void Process(MxMessage& Message);
    void Cleanup();

    static POSITION GetFirstHandlerPos();
    static POSITION GetNextHandlerPos(POSITION Position);
    static MxMsgHandler* GetHandlerAt(POSITION Position);
    static void Handle(MxMessage& Message);
    static void Flush();

private:
    Match_Function m_IsMatch = nullptr;
    Process_Function m_Process = nullptr;
    Cleanup_Function m_Cleanup = nullptr;
    int m_Active = 0;
};
