// What an operation keeps for its thread from one call to the next: plans, tables, work memory. It
// hangs on the thread and goes with it at the latest, so that no operation has to be told of a
// thread's end.
#ifndef OWN_KEPT_H
#define OWN_KEPT_H

#include <cstddef>

// The head of every such state. A state is plain data and begins as zeroes.
struct OwnKept {
    OwnKept* next;
    void (*release)(OwnKept* kept);
};

// The calling thread's state with that release function, made of `size` zero bytes at its first
// use; null when memory can't be had. The release function frees what the state holds; the state
// itself goes with the thread.
OwnKept* ownKeptState(void (*release)(OwnKept* kept), size_t size);

// For a thread that ends: releases all of a list.
void ownReleaseKept(OwnKept* first);

// State derives from OwnKept.
template <class State> State* ownKept(void (*release)(OwnKept* kept)) {
    return static_cast<State*>(ownKeptState(release, sizeof(State)));
}

#endif
