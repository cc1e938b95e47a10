#pragma once

#include <glib-unix.h>

#include <functional>
#include <utility>

namespace zqlogging {

/// Watches a file descriptor in a main context for as long as it lives: `ready` runs on the context's thread
/// whenever there is something to read, and ends the watching by answering false. What `ready` holds is let go when
/// the watching has ended and no call runs any more.
class GlibSource {
 public:
  GlibSource(int descriptor, GMainContext* context, std::function<bool()> ready)
      : source_(g_unix_fd_source_new(descriptor, G_IO_IN)) {
    const GUnixFDSourceFunc call = [](gint, GIOCondition, gpointer data) {
      return (*static_cast<std::function<bool()>*>(data))() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    };
    g_source_set_callback(source_, G_SOURCE_FUNC(call), new std::function<bool()>(std::move(ready)),
                          [](gpointer data) { delete static_cast<std::function<bool()>*>(data); });
    g_source_attach(source_, context);
  }
  GlibSource(const GlibSource&) = delete;
  GlibSource& operator=(const GlibSource&) = delete;
  ~GlibSource() {
    g_source_destroy(source_);
    g_source_unref(source_);
  }

 private:
  GSource* const source_;
};

}  // namespace zqlogging
