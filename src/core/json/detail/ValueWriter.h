// The traversal shared by the system's writer and the transport writer.
//
// Values of any depth are written with an explicit stack: a value built by native code is not bounded by the
// parser's depth limit, and recursion over it could exhaust the thread's stack.
#pragma once

#include "core/value/Value.h"

#include <string>
#include <vector>

namespace zel::json::detail {

// Style provides scalar(const Value&, std::string& out) for every non-container value and
// key(const std::string&, std::string& out) for dictionary keys.
template <class Style>
void writeValue(const Value& root, std::string& out, const Style& style) {
    struct Frame {
        const Value* container;
        Value::const_iterator next;
        bool first;
    };
    const auto isContainer = [](const Value& v) { return v.is_object() || v.is_array(); };
    if (!isContainer(root)) {
        style.scalar(root, out);
        return;
    }
    std::vector<Frame> stack;
    out += root.is_object() ? '{' : '[';
    stack.push_back({&root, root.cbegin(), true});
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.container->cend()) {
            out += frame.container->is_object() ? '}' : ']';
            stack.pop_back();
            continue;
        }
        if (!frame.first) out += ',';
        frame.first = false;
        const auto it = frame.next++;
        if (frame.container->is_object()) {
            style.key(it.key(), out);
            out += ':';
        }
        const Value& child = it.value();
        if (isContainer(child)) {
            out += child.is_object() ? '{' : '[';
            stack.push_back({&child, child.cbegin(), true});  // frame is not used after this
        } else {
            style.scalar(child, out);
        }
    }
}

}  // namespace zel::json::detail
