// SPDX-License-Identifier: MIT
// The one listener of the process for changes of the logo.
#pragma once

#include <atomic>

#include "codec/filter/listener.h"

namespace codec {

// Holds a pointer that it does not own. The pointer itself may be read and set from any thread;
// that the listener lives while it is called is the business of whoever sets and calls it.
class ListenerRegistry {
 public:
  static ListenerRegistry& Instance();

  // Replaces the listener; null for none.
  void SetListener(Listener* listener) { mListener.store(listener); }
  Listener* GetListener() const { return mListener.load(); }
  // Leaves no listener behind if it is this one; for listeners that are being destroyed.
  void Forget(Listener* listener) { mListener.compare_exchange_strong(listener, nullptr); }

  ListenerRegistry(const ListenerRegistry&) = delete;
  ListenerRegistry& operator=(const ListenerRegistry&) = delete;

 private:
  ListenerRegistry() = default;
  ~ListenerRegistry() = default;

  std::atomic<Listener*> mListener{nullptr};
};

}  // namespace codec
