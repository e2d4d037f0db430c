// The handlers of the tracking calls, one file per class family, each registering its
// calls by their generated opcode constants.
#pragma once

#include <memory>

#include "server/svr_dispatch.h"

class Mdl_Session;

void Svr_Register_Session_Calls(Svr_Dispatcher& dispatcher);
void Svr_Register_Entity_Calls(Svr_Dispatcher& dispatcher);
void Svr_Register_Entity_Def_Calls(Svr_Dispatcher& dispatcher);
void Svr_Register_Collection_Calls(Svr_Dispatcher& dispatcher);
void Svr_Register_Admin_Calls(Svr_Dispatcher& dispatcher);
void Svr_Register_Query_Calls(Svr_Dispatcher& dispatcher);
void Svr_Register_Workspace_Calls(Svr_Dispatcher& dispatcher);

inline void Svr_Register_Tracking_Calls(Svr_Dispatcher& dispatcher)
{
    Svr_Register_Session_Calls(dispatcher);
    Svr_Register_Entity_Calls(dispatcher);
    Svr_Register_Entity_Def_Calls(dispatcher);
    Svr_Register_Collection_Calls(dispatcher);
    Svr_Register_Admin_Calls(dispatcher);
    Svr_Register_Query_Calls(dispatcher);
    Svr_Register_Workspace_Calls(dispatcher);
}

// The payload of a session object; NULL for NULL.
std::shared_ptr<Svr_Payload> Svr_Session_Payload(std::shared_ptr<Mdl_Session> session);
