// A thread of the foundation's thread layer. This system is built without threads
// (FND_NO_THREADS): a thread object holds its function and argument, but Run starts
// nothing and reports -1.
#pragma once

class Fnd_Thread {
public:
    typedef void* (*Function)(void* Argument);

    // A thread needs a function: the default constructor is a programming error.
    Fnd_Thread();
    Fnd_Thread(Function Thread_Function, void* Argument);

    void Set_Thread_Func_Args(Function Thread_Function, void* Argument);
    Function Get_Function() const { return Thread_Function; }
    void* Get_Argument() const { return Argument; }

    // -1: no thread can be started.
    int Run();
    void Kill() {}
    int Is_Thread_Alive() const { return 0; }

    static long Get_Current_ThreadId() { return 0; }
    static long Get_Stack_Used() { return -1; }

private:
    Function Thread_Function = nullptr;
    void* Argument = nullptr;
};
