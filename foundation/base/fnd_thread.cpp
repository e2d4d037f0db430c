#include "foundation/base/fnd_thread.h"

#include "foundation/base/fnd_assert.h"

Fnd_Thread::Fnd_Thread() { Fnd_Assert(0, u"FND_NO_THREADS"); }

Fnd_Thread::Fnd_Thread(Function Thread_Function, void* Argument)
    : Thread_Function(Thread_Function), Argument(Argument) {}

void Fnd_Thread::Set_Thread_Func_Args(Function Thread_Function, void* Argument) {
    this->Thread_Function = Thread_Function;
    this->Argument = Argument;
}

int Fnd_Thread::Run() { return -1; }
