// SPDX-License-Identifier: MIT
#include "base/lock.h"

namespace but {

Mutex::Mutex() { pthread_mutex_init(&mMutex, nullptr); }
Mutex::~Mutex() { pthread_mutex_destroy(&mMutex); }
void Mutex::Lock() { pthread_mutex_lock(&mMutex); }
void Mutex::Unlock() { pthread_mutex_unlock(&mMutex); }

void Mutex11::Lock() { mMutex.lock(); }
void Mutex11::Unlock() { mMutex.unlock(); }

}  // namespace but
