// Style sheets for every widget on the default display, at application priority.
#pragma once

namespace zel {

// Adds `css` once: later calls with the same text (a static constant, known by its address) do nothing.
// Main thread; the display must be open.
void addDisplayStyle(const char* css);

}  // namespace zel
