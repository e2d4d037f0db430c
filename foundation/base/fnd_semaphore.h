// The foundation's locks. This system runs single-threaded (FND_NO_THREADS): every
// semaphore and guard is empty, and stands where a threaded build would hold a lock.
//
// A static lock needs no static constructor: declare a null pointer and put a guard
// around the critical section; the guard makes the semaphore on first use.
//
//   static Fnd_Recursive_Semaphore* Catalog_Lock = nullptr;
//   Fnd_Recursive_Semaphore_Guard guard(Catalog_Lock, 0);
#pragma once

class Fnd_Semaphore {
public:
    Fnd_Semaphore(int Initial, int Maximum, int Options);

    void Wait() {}
    void Signal() {}
    void Signal_All() {}
    void Reset_Wait() {}
    int Wait_With_Timeout(int Milliseconds);
    int Get_Cur_Value() const { return 0; }
    int Get_Cur_Count() const { return 0; }
    void Set_Value(int) {}
    void Set_Count(int) {}

    // Guard the making of static semaphores.
    static void Static_Initialization_Lock() {}
    static void Static_Initialization_Unlock() {}
};

class Fnd_Recursive_Semaphore {
public:
    explicit Fnd_Recursive_Semaphore(int Options);

    void Wait() {}
    void Signal() {}
    int Wait_With_Timeout(int Milliseconds);
};

// Holds *Slot for its lifetime, making the semaphore first if Slot is null.
class Fnd_Semaphore_Guard {
public:
    Fnd_Semaphore_Guard(Fnd_Semaphore*& Slot, int Initial, int Maximum, int Options);
    ~Fnd_Semaphore_Guard();
    Fnd_Semaphore_Guard(const Fnd_Semaphore_Guard&) = delete;
    Fnd_Semaphore_Guard& operator=(const Fnd_Semaphore_Guard&) = delete;

private:
    Fnd_Semaphore** Slot;
};

class Fnd_Recursive_Semaphore_Guard {
public:
    Fnd_Recursive_Semaphore_Guard(Fnd_Recursive_Semaphore*& Slot, int Options);
    ~Fnd_Recursive_Semaphore_Guard();
    Fnd_Recursive_Semaphore_Guard(const Fnd_Recursive_Semaphore_Guard&) = delete;
    Fnd_Recursive_Semaphore_Guard& operator=(const Fnd_Recursive_Semaphore_Guard&) = delete;

private:
    Fnd_Recursive_Semaphore** Slot;
};
