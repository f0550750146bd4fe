// Part of every program in the thread sanitizer's build.
//
// QProcess starts a process by clone(CLONE_VM | CLONE_VFORK): the child runs in its parent's memory until it
// becomes another program. GCC 12's sanitizer takes every clone() for a fork() and does what follows one on
// both sides; in common memory that is twice for the parent's thread. From then on it heeds neither the locks
// of that thread, so that what is well locked is reported, nor its mistakes. A child in memory of its own, as
// fork() makes it, is followed rightly.

#include <dlfcn.h>
#include <linux/sched.h>

using Clone = int (*)(int (*function)(void*), void* stack, int flags, void* argument, int* parentId,
                      void* storage, int* childId);

// Stands before the sanitizer's, for Qt too. The C library's is variadic; these are all that it may get.
extern "C" __attribute__((visibility("default"))) int clone(int (*function)(void*), void* stack, int flags,
                                                            void* argument, int* parentId, void* storage,
                                                            int* childId)
{
    static const auto sanitizers = reinterpret_cast<Clone>(dlsym(RTLD_NEXT, "clone"));
    if ((flags & CLONE_VFORK) != 0)
        flags &= ~CLONE_VM;
    return sanitizers(function, stack, flags, argument, parentId, storage, childId);
}
