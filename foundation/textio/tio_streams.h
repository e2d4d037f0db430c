// The process's text streams: Tio_In (by default standard input), Tio_Out, Tio_Err and
// Tio_Dialog (by default the console's output, error and output side) and the log
// stream Tio_Log with the standard policy.
// They are built at start-up, before the foundation counts its statics as up.
#pragma once

#include "foundation/textio/tio_text_input.h"
#include "foundation/textio/tio_text_log_stream.h"
#include "foundation/textio/tio_text_output.h"

extern Tio_Text_Input_Stream Tio_In;
extern Tio_Text_Output_Stream Tio_Out;
extern Tio_Text_Output_Stream Tio_Err;
extern Tio_Text_Output_Stream Tio_Dialog;
extern Tio_Text_Log_Stream Tio_Log;
