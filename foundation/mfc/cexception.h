// The base of the exceptions of the MFC-like vocabulary. An exception is a heap object
// thrown by pointer; the catcher ends it with Delete.
//
//   try { archive >> value; }
//   catch (CArchiveException* e) { ... e->Delete(); }
#pragma once

#include "foundation/base/fnd_code_unit.h"
#include "foundation/mfc/cobject.h"

class CException : public CObject {
    FND_OBJECT_MEMBERS(CException)
public:
    int Auto_Delete = 1;

    ~CException() override = default;

    long Is_Equal(const Fnd_Object&) const override { return 1; }
    // The text of the exception into Buffer (at most Max units with the terminator);
    // 0 when there is none. A non-null help context is a programming error.
    virtual int GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned* pnHelpContext);
    // Destroys the object when it is to be deleted automatically.
    void Delete();

protected:
    CException() = default;
    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
};
