#include "foundation/textio/tio_streams.h"

// Built before the statics flag of the assertions (fnd_assert.cpp) is raised, so that a
// failing assertion that finds the statics up can use them.
__attribute__((init_priority(60000))) Tio_Text_Input_Stream Tio_In;
__attribute__((init_priority(60000))) Tio_Text_Output_Stream Tio_Out(0);
__attribute__((init_priority(60000))) Tio_Text_Output_Stream Tio_Err(1);
__attribute__((init_priority(60000))) Tio_Text_Output_Stream Tio_Dialog(0);
__attribute__((init_priority(60000))) Tio_Text_Log_Stream Tio_Log(Tio_Log_Policy(1, 0));
