// GLib: GKeyFile, and GSettings over a key file.
#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>

#include <cstdlib>
#include <fstream>
#include <memory>

#include "bench/Peers.h"
#include "bench/Ratios.h"

namespace peers {

namespace {

constexpr const char* kGroup = "Options";

void addKeyFile(std::vector<Store>& stores, const Entries& entries, const std::string& folder) {
  const std::string file = folder + "/glib.ini";
  const std::shared_ptr<GKeyFile> keys(g_key_file_new(), g_key_file_unref);
  for (const auto& [key, value] : entries)
    g_key_file_set_string(keys.get(), kGroup, key.c_str(), value.c_str());
  if (!g_key_file_save_to_file(keys.get(), file.c_str(), nullptr)) abort();
  const std::string key = entries.front().first;
  const auto change = [keys, key](std::size_t which) {
    g_key_file_set_string(keys.get(), kGroup, key.c_str(), kTexts[which]);
  };
  stores.push_back({.name = "GKeyFile",
                    .read =
                        [keys, key](std::size_t count) {
                          while (count-- > 0) {
                            char* value = g_key_file_get_string(keys.get(), kGroup, key.c_str(), nullptr);
                            ratios::keep(value);
                            g_free(value);
                          }
                        },
                    .set = setBy(change),
                    .load =
                        [file](std::size_t count) {
                          while (count-- > 0) {
                            GKeyFile* fresh = g_key_file_new();
                            if (!g_key_file_load_from_file(fresh, file.c_str(), G_KEY_FILE_NONE, nullptr))
                              abort();
                            g_key_file_unref(fresh);
                          }
                        },
                    .save = saveBy(change, [keys, file] {
                      if (!g_key_file_save_to_file(keys.get(), file.c_str(), nullptr)) abort();
                    })});
}

// Its keys are words of small letters and digits.
std::string schemaKey(std::size_t entry) { return "key-" + std::to_string(entry); }

void addSettings(std::vector<Store>& stores, const Entries& entries, const std::string& folder) {
  constexpr const char* kSchema = "bench.options";
  std::ofstream xml(folder + "/bench.gschema.xml");
  xml << "<schemalist><schema id='" << kSchema << "' path='/options/'>";
  for (std::size_t i = 0; i < entries.size(); ++i)
    xml << "<key name='" << schemaKey(i) << "' type='s'><default>''</default></key>";
  xml << "</schema></schemalist>";
  xml.close();
  if (std::system(("glib-compile-schemas '" + folder + "'").c_str()) != 0) return;
  GSettingsSchemaSource* source =
      g_settings_schema_source_new_from_directory(folder.c_str(), nullptr, FALSE, nullptr);
  if (!source) return;
  const std::shared_ptr<GSettingsSchema> schema(g_settings_schema_source_lookup(source, kSchema, FALSE),
                                                g_settings_schema_unref);
  const std::string file = folder + "/gsettings.ini";
  const auto opened = [schema, file] {
    GSettingsBackend* backend = g_keyfile_settings_backend_new(file.c_str(), "/", nullptr);
    const std::shared_ptr<GSettings> settings(g_settings_new_full(schema.get(), backend, nullptr),
                                              g_object_unref);
    g_object_unref(backend);
    return settings;
  };
  const auto settings = opened();
  g_settings_delay(settings.get());
  for (std::size_t i = 0; i < entries.size(); ++i)
    g_settings_set_string(settings.get(), schemaKey(i).c_str(), entries[i].second.c_str());
  g_settings_apply(settings.get());
  g_settings_sync();
  const std::string key = schemaKey(0);
  const auto change = [settings, key](std::size_t which) {
    g_settings_set_string(settings.get(), key.c_str(), kTexts[which]);
  };
  stores.push_back({.name = "GSettings",
                    .read =
                        [settings, key](std::size_t count) {
                          while (count-- > 0) {
                            char* value = g_settings_get_string(settings.get(), key.c_str());
                            ratios::keep(value);
                            g_free(value);
                          }
                        },
                    .set = setBy(change),
                    .load =
                        [opened, key](std::size_t count) {
                          while (count-- > 0) g_free(g_settings_get_string(opened().get(), key.c_str()));
                        },
                    .save = saveBy(change, [settings] {
                      g_settings_apply(settings.get());
                      g_settings_sync();
                    })});
}

}  // namespace

void addGlibStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder) {
  addKeyFile(stores, entries, folder);
  addSettings(stores, entries, folder);
}

}  // namespace peers
