#include "server/store/sto_engine.h"

Sto_Connection::~Sto_Connection()
{
    Release_Writer();
}

void Sto_Connection::Release_Writer() noexcept
{
    if (Kin->Writer == this)
        Kin->Writer = nullptr;
}

void Sto_Connection::Begin()
{
    if (Depth > 0) {
        Execute_Script("SAVEPOINT " + Savepoint());
        ++Depth;
        return;
    }
    if (Kin->Writer != nullptr && Kin->Writer != this)
        throw Sto_Busy("another session of this server holds a transaction on the store; "
                       "try again when it has ended");
    Begin_Outer();
    Kin->Writer = this;
    Depth = 1;
}

void Sto_Connection::Commit()
{
    if (Depth > 1) {
        --Depth;
        Execute_Script("RELEASE SAVEPOINT " + Savepoint());
        return;
    }
    // A failed commit leaves the transaction to the caller's Rollback.
    Commit_Outer();
    Depth = 0;
    Release_Writer();
}

void Sto_Connection::Rollback() noexcept
{
    if (Depth > 1) {
        --Depth;
        try {
            // Undone and ended; the outer transaction goes on.
            Execute_Script("ROLLBACK TO SAVEPOINT " + Savepoint() + "; RELEASE SAVEPOINT " + Savepoint());
            return;
        } catch (const Sto_Error&) {
            Depth = 1;  // the outer transaction cannot be trusted: it goes too
        }
    }
    Rollback_Outer();
    Depth = 0;
    Release_Writer();
}

std::unique_ptr<Sto_Connection> Sto_Connection::Open_Sibling()
{
    std::unique_ptr<Sto_Connection> sibling = Open_Again();
    sibling->Kin = Kin;
    return sibling;
}
