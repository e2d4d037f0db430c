#include "foundation/mfc/cexception.h"

#include "foundation/base/fnd_assert.h"

int CException::GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned* pnHelpContext) {
    Fnd_Assert(pnHelpContext == nullptr,
               u"CException::GetErrorMessage pnHelpContext not null");
    if (Max != 0 && Buffer) Buffer[0] = 0;
    return 0;
}

void CException::Delete() {
    if (Auto_Delete >= 1) delete this;
}
