// The verbs that show choice lists and jurisdictions.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/jurisdictions/ProvinceCodeMapping.h"
#include "qorvane/manager/OptionsMgr.h"
#include "tool/Columns.h"
#include "tool/Failure.h"
#include "tool/Language.h"
#include "tool/Suggest.h"
#include "tool/Verbs.h"

namespace optionsmgr {

using qorvane::Choice;
using qorvane::ChoiceList;
using qorvane::ProvinceCodeMapping;
using qorvane::Text;
using Json = nlohmann::ordered_json;

namespace {

struct ChoicesRequest {
  std::string list;
};

struct ProvinceRequest {
  std::string name;
};

Json asJson(const ChoiceList& list) {
  Json rows = Json::array();
  for (const Choice& choice : list.choices)
    rows.push_back({{"neutral", choice.neutral.string()},
                    {"en", choice.english.string()},
                    {"fr", choice.french.string()}});
  return rows;
}

// The choices of one list or of all: neutral value, English label, French label.
void choices(Session& session, const ChoicesRequest& request, std::ostream& out) {
  std::vector<const ChoiceList*> lists;
  std::vector<std::string_view> names;
  for (const ChoiceList& list : qorvane::choiceLists()) {
    names.push_back(list.name);
    if (request.list.empty() || list.name == request.list) lists.push_back(&list);
  }
  if (lists.empty())
    throw Failure(Exit::NotFound,
                  say("there is no choice list \"{}\"", request.list) + didYouMean(request.list, names));
  if (session.json()) {
    Json all = Json::object();
    for (const ChoiceList* list : lists) all[std::string(list->name)] = asJson(*list);
    out << all.dump(2) << '\n';
    return;
  }
  for (const ChoiceList* list : lists) {
    if (lists.size() > 1) out << (list == lists.front() ? "" : "\n") << list->name << '\n';
    std::vector<std::vector<std::string>> rows;
    for (const Choice& choice : list->choices)
      rows.push_back({choice.neutral.string(), choice.english.string(), choice.french.string()});
    printColumns(rows, out, session.terminalWidth());
  }
}

// A jurisdiction in all its forms, found by one of them or by a postal code.
void province(Session& session, const ProvinceRequest& request, std::ostream& out) {
  // Names are asked for in the display language, which is the store's: it must be in order. The language is
  // changed in memory only.
  session.load();
  qorvane::OptionsMgr::setLanguage("English");
  const Text asked(request.name);
  const bool named = ProvinceCodeMapping::getOurProvCodeFromProvName(asked) != 0;
  // The library looks at a letter or three; a person who types a name amiss did not mean a postal code.
  const bool postal = request.name.size() >= 3 && request.name[1] >= '0' && request.name[1] <= '9';
  const Text code = named    ? ProvinceCodeMapping::getProvinceCode(asked)
                    : postal ? ProvinceCodeMapping::postalProvince(asked)
                             : Text();
  if (code.isNilOrEmpty()) {
    std::vector<std::string_view> names;
    for (const Text& name : ProvinceCodeMapping::provinceList()) names.push_back(name);
    throw Failure(Exit::NotFound,
                  say("\"{}\" is neither a jurisdiction of this product nor a postal code", request.name) +
                      didYouMean(request.name, names));
  }
  // The personal product has a full name for the number of "MJ", but no neutral name for the code.
  const Text neutral = ProvinceCodeMapping::getNeutralProvinceName(code);
  const Text english = neutral.isEqualTo(code) ? ProvinceCodeMapping::getProvinceFullName(code) : neutral;
  const Json told{{"code", code.string()},
                  {"number", static_cast<int>(ProvinceCodeMapping::getOurProvCodeFromProvName(code))},
                  {"en", english.string()},
                  {"fr", ProvinceCodeMapping::getFrProvNameFromEngProvName(english).string()},
                  {"image", static_cast<int>(ProvinceCodeMapping::getImageIndexFromProvince(code))},
                  {"foundBy", named ? "name or code" : "postal code"}};
  if (session.json()) {
    out << told.dump(2) << '\n';
    return;
  }
  std::vector<std::vector<std::string>> rows;
  for (const auto& [name, value] : told.items())
    rows.push_back({name, value.is_string() ? value.get<std::string>() : value.dump()});
  printColumns(rows, out, session.terminalWidth());
}

}  // namespace

void addJurisdictionVerbs(Verbs& verbs) {
  verbs.add<ChoicesRequest>(
      "choices", "show the choices of a list: what is stored, and the labels in both languages",
      [](CLI::App& verb, ChoicesRequest& request) {
        verb.add_option("LIST", request.list, "the list's class, such as ModeOfDelivery; all by default");
      },
      choices, "  optionsmgr choices ModeOfDelivery\n");
  verbs.add<ProvinceRequest>(
      "province", "show a province or other jurisdiction in all its forms",
      [](CLI::App& verb, ProvinceRequest& request) {
        verb.add_option("NAME", request.name, "a name, a two-letter code, or a postal code")->required();
      },
      province, "  optionsmgr province QC\n  optionsmgr province 'H2X 1Y4'\n");
}

}  // namespace optionsmgr
