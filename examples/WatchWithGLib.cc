// The same as WatchWithPoll.cc in GLib's event loop, as GTK programs have it.
#include <glib-unix.h>
#include <glib.h>

#include <iostream>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/PreferenceWatch.h"

namespace {

gboolean tell(gint, GIOCondition, gpointer watch) {
  for (const qorvane::Text& key : static_cast<qorvane::PreferenceWatch*>(watch)->changedKeys())
    std::cout << key.string() << std::endl;
  return G_SOURCE_CONTINUE;
}

gboolean end(gint, GIOCondition, gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_REMOVE;
}

}  // namespace

int main() {
  qorvane::FileUserDefaults store;
  qorvane::PreferenceWatch watch(store);
  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  const guint heard = g_unix_fd_add(watch.descriptor(), G_IO_IN, tell, &watch);
  g_unix_fd_add(0, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), end, loop);
  std::cout << "listening" << std::endl;
  g_main_loop_run(loop);
  g_source_remove(heard);  // Before the watch goes: its descriptor goes with it.
  g_main_loop_unref(loop);
}
