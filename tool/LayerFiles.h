// Layers as the tool shows and changes them: what each of them says of a product and year, and the files of
// the machine's, which root edits. What layers are stands in qorvane/preferences/Layers.h.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "tool/Domains.h"
#include "tool/Session.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

/// The user's settings with the farther layers as they stand now. Throws Failure when one cannot be read.
std::shared_ptr<const qorvane::LayeredSettings> layersOf(Session& session, const Domain& domain,
                                                         const qorvane::Settings& own);

/// What --layer asks to see: by default what counts of all layers; the user's own entries; those of the
/// machine's or the firm's, of all their folders. None where there are no settings. Throws Failure as
/// `storedEntries`.
std::optional<qorvane::Dictionary> seenEntries(Session& session, const Domain& domain);

/// --layer asks for layers that no user changes.
inline bool asksForFartherLayer(const Settings& said) {
  return said.layer == "machine" || said.layer == "firm";
}

/// "machine" or "firm".
Phrase layerName(qorvane::LayerFolder::Kind kind);

/// The layer that locks an entry which the option's setter writes; null when none does.
const qorvane::Layer* lockOn(const qorvane::LayeredSettings& layers, const qorvane::OptionRow& row,
                             const qorvane::Product& product);
/// Throws Failure (no permission) that names the option and the layer that locks it.
void requireUnlocked(const qorvane::LayeredSettings& layers, const qorvane::OptionRow& row,
                     const qorvane::Product& product);

/// The same for every option whose entries differ in the two.
void requireUnlocked(Session& session, const Domain& domain, const qorvane::Dictionary& before,
                     const qorvane::Dictionary& after);

/// Whether anything farther than what is edited has the entry: the user's settings or, with --layer machine,
/// the machine's file of that domain.
bool isFarther(const Session& session, const qorvane::LayeredSettings& layers, const Domain& domain,
               std::string_view entryKey);

/// The entries among these that are to be noted as chosen when a person sets them: those that would yield to
/// a farther layer's otherwise.
std::vector<qorvane::Text> pinsAmong(const qorvane::LayeredSettings& layers,
                                     const std::vector<qorvane::Text>& keys,
                                     const qorvane::Dictionary& entries);

// ---- the machine's files --------------------------------------------------------------------------------

/// What one file of the machine's layer holds.
struct MachineSettings {
  qorvane::Dictionary entries;
  std::vector<qorvane::Text> locked;
};

/// The domain whose file --layer machine edits: that of --year, else the one for every year.
Domain editedDomain(const Session& session);
/// That file, in the first folder of the machine's.
std::string machineFile(Session& session, const Domain& domain);
/// Throws Failure when it is damaged or cannot be read; nothing where there is none.
MachineSettings machineSettings(Session& session, const Domain& domain);
/// Lets the function change what the file holds and writes it, readable by everyone; one that holds nothing
/// goes. Throws Failure, with nothing changed: for anybody but root, and for a folder that others can change.
void changeMachineSettings(Session& session, const Domain& domain,
                           const std::function<void(MachineSettings&)>& change);

/// Why others could change the file or folder, in words; none when only root, or this user, can.
std::optional<std::string> distrusted(const std::string& path, uid_t trusted);

}  // namespace optionsmgr
