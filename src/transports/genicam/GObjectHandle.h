#pragma once

#include <glib-object.h>

#include <memory>

namespace Zevrin {

struct GObjectUnref {
    void operator()(gpointer pObject) const noexcept { g_object_unref(pObject); }
};

/// One reference to a GObject.
template <typename T>
using GObjectHandle = std::unique_ptr<T, GObjectUnref>;

}  // namespace Zevrin
