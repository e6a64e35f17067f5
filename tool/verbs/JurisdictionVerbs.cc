// The verbs that show choice lists and jurisdictions.
#include <algorithm>

#include "qorvane/jurisdictions/ChoiceLists.h"
#include "qorvane/jurisdictions/ProvinceCodeMapping.h"
#include "qorvane/manager/OptionsMgr.h"
#include "tool/ChoiceText.h"
#include "tool/Failure.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::ChoiceList;
using qorvane::ProvinceCodeMapping;
using qorvane::Text;

namespace {

struct ChoicesRequest {
  std::string list;
};

struct ProvinceRequest {
  std::string name;
};

// The choices of one list or of all.
void choices(Session& session, const ChoicesRequest& request, std::ostream& out) {
  session.requireSound();
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
    for (const ChoiceList* list : lists)
      all[std::string(list->name)] = choicesAsJson(*list, list->defaultValue());
    printJson(all, out);
    return;
  }
  for (const ChoiceList* list : lists) {
    if (lists.size() > 1) out << (list == lists.front() ? "" : "\n") << list->name << '\n';
    printChoices(session, *list, list->defaultValue(), out);
  }
}

// A jurisdiction in all its forms, found by one of them or by a postal code.
void province(Session& session, const ProvinceRequest& request, std::ostream& out) {
  // Names are asked for in the display language, which is the store's: it must be in order. The language is
  // changed in memory only.
  session.requireSound();
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
  const Text french = ProvinceCodeMapping::getFrProvNameFromEngProvName(english);
  const int number = static_cast<int>(ProvinceCodeMapping::getOurProvCodeFromProvName(code));
  const int image = static_cast<int>(ProvinceCodeMapping::getImageIndexFromProvince(code));
  if (session.json())
    printJson({{"code", code.string()},
               {"number", number},
               {"english", english.string()},
               {"french", french.string()},
               {"image", image},
               {"foundBy", named ? "name" : "postal"}},
              out);
  else
    printTable(session, {},
               {{say("code"), code.string()},
                {say("number"), std::to_string(number)},
                {say("English"), english.string()},
                {say("French"), french.string()},
                {say("image"), std::to_string(image)},
                {say("found by"), named ? say("its name or code") : say("its postal code")}},
               out, Overflow::Words);
}

}  // namespace

void addJurisdictionVerbs(Verbs& verbs) {
  verbs.add<ChoicesRequest>(
      "choices", "show the choices of a list: neutral values, and labels in both languages",
      [](CLI::App& verb, ChoicesRequest& request) {
        verb.add_option("LIST", request.list,
                        Phrase("the list's class, such as ModeOfDelivery; all by default"));
      },
      choices, "  optionsmgr choices ModeOfDelivery\n");
  verbs.add<ProvinceRequest>(
      "province", "show a province or other jurisdiction: code, number, names in both languages",
      [](CLI::App& verb, ProvinceRequest& request) {
        verb.add_option("NAME", request.name,
                        Phrase("a name in either language (Quebec, Québec), a two-letter code (QC) or a "
                               "postal code (H2X 1Y4)"))
            ->required();
      },
      province, "  optionsmgr province QC\n  optionsmgr province 'H2X 1Y4'\n");
}

}  // namespace optionsmgr
