// A double-ended sequence used as a first-in, first-out queue. Not thread-safe.
#pragma once

#include <deque>
#include <optional>
#include <utility>

namespace zel {

// The head of the queue, removed from it; nullopt (and the queue left as it is) when it is empty.
template <class T>
std::optional<T> dequeue(std::deque<T>& queue) {
    if (queue.empty()) return std::nullopt;
    std::optional<T> head(std::move(queue.front()));
    queue.pop_front();
    return head;
}

}  // namespace zel
