// SPDX-License-Identifier: MIT
#include "base/lock.h"

namespace but {

Mutex::Mutex() { pthread_mutex_init(&mMutex, nullptr); }
Mutex::~Mutex() { pthread_mutex_destroy(&mMutex); }
void Mutex::Lock() BUT_UNPROVEN { pthread_mutex_lock(&mMutex); }
void Mutex::Unlock() BUT_UNPROVEN { pthread_mutex_unlock(&mMutex); }

void Mutex11::Lock() BUT_UNPROVEN { mMutex.lock(); }
void Mutex11::Unlock() BUT_UNPROVEN { mMutex.unlock(); }

}  // namespace but
