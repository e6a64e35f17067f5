#include "qorvane/profile/PreReleaseDia.h"

#include <initializer_list>
#include <string>

#include "qorvane/manager/OptionsMgr.h"

namespace qorvane::inline v1 {

namespace {

// The agencies' first day of this filing season; a release of another season changes the four together.
constexpr Text kDay = "23";
constexpr Text kMonthEnglish = "February";
constexpr Text kMonthFrench = "février";
constexpr Text kYear = "2026";

constexpr Text kDate = "%@ %@, %@";

// The wording that was shipped, its blanks included.
// clang-format off
constexpr Text kPrintingEnglish =
    "Pre Release software is not certified for printing.An update will be available prior to %@.";

constexpr Text kPrintingFrench =
    "Le logiciel en version d’essai  n’est  pas certifié pour l’impression. Une mise à jour sera "
    "disponible avant le %@.";

constexpr Text kStartEnglish =
    "Canada Revenue Agency and Revenue Quebec will start accepting tax returns on %@, all electronic "
    "services will also start on that day.%@%@An update will be available prior to %@ to allow you "
    "to file your tax return. When Qorvane starts it will automatically check for an update. If you "
    "wish you can also manually check for an update using the Check for Updates option under the "
    "QorvaneMac %@ menu.";

constexpr Text kStartFrench =
    "Agence du revenu du Canada et Revenu Québec commenceront à accepter les déclarations de revenus "
    "le %@ et tous les services électroniques seront opérationnel ce jour-là.%@%@Une mise à jour "
    "sera disponible avant le %@ pour vous permettre de déposer votre déclaration de revenus. "
    "Lorsque vous lancez le  programme Qorvane, il  va vérifier automatiquement s’il y a une mise à "
    "jour.  Si vous le souhaitez, vous pouvez également vérifier manuellement s’il y a une mise à "
    "jour  en utilisant l’option Mise à jour du logiciel  sous le menu QorvaneMac %@";
// clang-format on

// The pattern with each "%@" replaced by the next of the texts.
Text filled(const Text& pattern, std::initializer_list<Text> texts) {
  constexpr std::string_view kPlace = "%@";
  std::string result;
  std::string_view rest = pattern;
  for (const Text& text : texts) {
    const std::size_t place = rest.find(kPlace);
    result.append(rest.substr(0, place)).append(text.view());
    rest.remove_prefix(place + kPlace.size());
  }
  return Text(result.append(rest));
}

}  // namespace

Text PreReleaseDia::getMessageToDisplay(int notice) {
  const bool english = OptionsMgr::isEnglish();
  // The French date has the comma of the shared pattern.
  const Text date =
      english ? filled(kDate, {kMonthEnglish, kDay, kYear}) : filled(kDate, {kDay, kMonthFrench, kYear});
  if (notice == 0 || notice == 1) return filled(english ? kPrintingEnglish : kPrintingFrench, {date});
  return filled(english ? kStartEnglish : kStartFrench, {date, "\n", "\n", date, kYear});
}

}  // namespace qorvane::inline v1
