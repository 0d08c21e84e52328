#include "image/locks.h"

#include "image/err.h"

namespace velorin {

KQMP_BinarySemaphore::KQMP_BinarySemaphore(bool startOpen) {
    if (pthread_mutex_init(&mutex, nullptr) != 0) throw ZPErrNoMemory;
    mutexValid = 1;
    created = 1;
    Wait();
    if (startOpen) Signal();
}

KQMP_BinarySemaphore::~KQMP_BinarySemaphore() {
    if (mutexValid) pthread_mutex_destroy(&mutex);
}

void KQMP_BinarySemaphore::Wait() {
    pthread_mutex_lock(&mutex);
}

void KQMP_BinarySemaphore::Signal() {
    pthread_mutex_unlock(&mutex);
}

namespace {

void DestroyLocks(RowLock* locks, int count) {
    for (int i = count - 1; i >= 0; --i) {
        if (locks[i].mutexValid) pthread_mutex_destroy(&locks[i].mutex);
    }
}

void CreateLocks(RowLock* locks, int count) {
    for (int i = 0; i < count; ++i) {
        locks[i].mutexValid = 0;
        if (pthread_mutex_init(&locks[i].mutex, nullptr) != 0) {
            DestroyLocks(locks, i);
            throw ZPErrNoMemory;
        }
        locks[i].mutexValid = 1;
    }
}

}  // namespace

RowLock** CreateRowLocks(int count) {
    auto** table = static_cast<RowLock**>(KQAllocOrThrow(sizeof(RowLock*) * (count + 1)));
    RowLock* block = nullptr;
    try {
        block = static_cast<RowLock*>(KQAllocOrThrow(sizeof(RowLock) * (count + 1)));
        CreateLocks(block, count);
    } catch (ZPErr) {
        KQFreeChecked(block);
        KQFree(table);
        throw;
    }
    for (int i = 0; i < count; ++i) table[i] = block + i;
    table[count] = block;  // keeps the block reachable where `count` is 0
    return table;
}

void DestroyRowLocks(RowLock** locks, int count) {
    if (!locks) return;
    RowLock* block = locks[count];
    DestroyLocks(block, count);
    KQFree(block);
    KQFree(locks);
}

void LockRow(RowLock* lock) {
    while (pthread_mutex_trylock(&lock->mutex) != 0) {
    }
}

void UnlockRow(RowLock* lock) {
    pthread_mutex_unlock(&lock->mutex);
}

}  // namespace velorin
