// The exceptions of numbered messages and of conditions. Both are thrown by pointer;
// the catcher ends them with Delete:
//
//   try { ThrowMxMsgException(18019); }
//   catch (MxMsgException* e) { int found = 0; text = e->GetErrorMessageString(&found, 0); e->Delete(); }
#pragma once

#include "foundation/base/fnd_condition.h"
#include "foundation/mfc/cexception.h"
#include "ztcoreutil/mxmessage.h"

// A list of messages that owns copies of them, with a cursor of its own.
class ExcpMsg : public CTypedPtrList<CPtrList, MxMessage*> {
public:
    ExcpMsg() = default;
    explicit ExcpMsg(const MxMessage& Message);
    ExcpMsg(const ExcpMsg& Other);
    ~ExcpMsg() override;

    // A copy that is made an error, so that it carries its code.
    void Add(const MxMessage& Message);
    ExcpMsg& operator=(const MxMessage& Message);
    ExcpMsg& operator+=(const MxMessage& Message);
    ExcpMsg& operator=(const ExcpMsg& Other);
    ExcpMsg& operator+=(const ExcpMsg& Other);

    int GetCount() const { return CPtrList::GetCount(); }
    POSITION FirstPos() const { return GetHeadPosition(); }
    POSITION NextPos(POSITION Position) const;
    MxMessage* GetAtPos(POSITION Position) const;
    // Deletes the message at Position; the position of the one behind it, or null.
    POSITION RemovePos(POSITION Position);
    void SetEmpty();

    MxMessage* First();
    MxMessage* Next();
    MxMessage* Current() const { return GetAtPos(Cursor); }
    MxMessage* Remove();

    void Deliver();

    POSITION Cursor = nullptr;
};

class MxMsgException : public CException {
    FND_OBJECT_MEMBERS(MxMsgException, CException)
public:
    explicit MxMsgException(int Auto_Delete = 1) { this->Auto_Delete = Auto_Delete; }
    MxMsgException(const MxMsgException&) = delete;
    MxMsgException& operator=(const MxMsgException&) = delete;

    long Is_Equal(const Fnd_Object&) const override;
    // The full text of the first message, cut to Max units with the terminator.
    int GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned* pnHelpContext) override;
    virtual Fnd_String GetErrorMessageString(int* Found, const unsigned Max_Bytes);
    // Delivers the messages; 1.
    virtual int ReportError(unsigned Type, unsigned Help);

    ExcpMsg Messages;
};

class Fnd_Core_Exception : public CException {
    FND_OBJECT_MEMBERS(Fnd_Core_Exception, CException)
public:
    Fnd_Core_Exception() = default;
    explicit Fnd_Core_Exception(const Fnd_Condition& Condition) : Condition(Condition) {}
    Fnd_Core_Exception(const Fnd_Core_Exception& Other) : CException(Other), Condition(Other.Condition) {}
    Fnd_Core_Exception& operator=(const Fnd_Core_Exception& Other);

    long Is_Equal(const Fnd_Object& Other) const override;
    // The condition's image, cut to Max - 2 units with the terminator.
    int GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned* pnHelpContext) override;

    Fnd_Condition Condition;
};

// Makes the message an error, traces it under "THROW", and throws a new MxMsgException
// holding it.
[[noreturn]] void ThrowMxMsgException(MxMessage& Message);
[[noreturn]] void ThrowMxMsgException(int Id);

// The text of an exception, in growing buffers up to Max_Bytes (0: 131072). Found is 1
// when the whole text fitted.
Fnd_String GetErrorMessageString(CException* E, int* Found, const unsigned Max_Bytes);

// Hooks for a product's own logging; they do nothing here.
void LogZTCoreCException(CException* E);
void LogZTCoreExceptionMsg(const Code_Unit* Text);
