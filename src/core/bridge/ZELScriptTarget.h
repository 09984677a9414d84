// Where native code calls the web app's global script functions.
//
// Implemented by the web view layer. A call names a global function of the page's window object and passes
// the arguments in order; no script text is ever built from the values. A function the page has not defined
// is a silent no-op. Results are not returned: no caller uses them. Main thread only.
#pragma once

#include "core/value/Value.h"

#include <string>

namespace zel {

class ZELScriptTarget {
  public:
    virtual ~ZELScriptTarget() = default;
    virtual void callJavascriptFunc(const std::string& name, const ArgList& params) = 0;
};

}  // namespace zel
