// The verbs that show what the facade knows of the product: its constants, its form pages, its notices. None
// changes a setting.

#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/profile/PreReleaseDia.h"
#include "tool/Failure.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::OptionsMgr;
using qorvane::Text;

namespace {

struct ProductRequest {};

struct NoticeRequest {
  int number = 0;
};

struct PagesRequest {
  std::string list;
};

Json asJson(const Text& text) { return text.string(); }
Json asJson(bool flag) { return flag; }
Json asJson(int number) { return number; }
Json asJson(const std::vector<Text>& texts) {
  Json all = Json::array();
  for (const Text& text : texts) all.push_back(text.string());
  return all;
}

struct Constant {
  const char* name;
  Json (*answer)();
};

#define CONSTANT(name)                               \
  {                                                  \
#name, [] { return asJson(OptionsMgr::name()); } \
  }
constexpr Constant kConstants[] = {
    CONSTANT(productVersion),
    CONSTANT(productName),
    CONSTANT(productType),
    CONSTANT(isNetFile),
    CONSTANT(yor),
    CONSTANT(fileExtension),
    CONSTANT(fileExtensionPreviousYear),
    CONSTANT(taxRatesFileName),
    CONSTANT(formsVersion),
    CONSTANT(formsVersions),
    CONSTANT(formsBuild),
    CONSTANT(qProductVersion),
    CONSTANT(federalApprovalNumber),
    CONSTANT(productIDUpdateCheck),
    CONSTANT(softwareDeveloperCode),
    CONSTANT(dotMRQFilesPath),
    CONSTANT(efileNumber),
    CONSTANT(transmitterEFileNumber),
};
#undef CONSTANT

struct PageList {
  std::string_view name;
  const std::vector<Text>& (*entries)();
};
constexpr PageList kPageLists[] = {{"pagesWithDecimal", OptionsMgr::pagesWithDecimal},
                                   {"pagesWithMaskedSIN", OptionsMgr::pagesWithMaskedSIN},
                                   {"elementsToMasked", OptionsMgr::elementsToMasked},
                                   {"OptOverideableCells", OptionsMgr::OptOverideableCells}};

std::string onOneLine(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_array()) return value.dump();
  std::string line;
  for (const Json& entry : value) line.append(line.empty() ? "" : " ").append(entry.get<std::string>());
  return line;
}

// Every constant of the running product, year, release and edition.
void product(Session& session, const ProductRequest&, std::ostream& out) {
  session.requireSound();
  Json all = Json::object();
  for (const Constant& constant : kConstants) all[constant.name] = constant.answer();
  if (session.json()) {
    printJson(all, out);
    return;
  }
  std::vector<Row> rows;
  for (const auto& [name, value] : all.items()) rows.push_back({name, onOneLine(value)});
  printTable(session, {}, rows, out, Overflow::Values);
}

// A pre-release notice in the display language.
void notice(Session& session, const NoticeRequest& request, std::ostream& out) {
  session.requireSound();
  const std::string text = qorvane::PreReleaseDia::getMessageToDisplay(request.number).string();
  if (session.json())
    printJson({{"notice", request.number}, {"text", text}}, out);
  else
    out << text << '\n';
}

// The form pages and cells of one list, or of all.
void pages(Session& session, const PagesRequest& request, std::ostream& out) {
  session.requireSound();
  Json all = Json::object();
  std::vector<std::string_view> names;
  for (const PageList& list : kPageLists) {
    names.push_back(list.name);
    if (request.list.empty() || request.list == list.name)
      all[std::string(list.name)] = asJson(list.entries());
  }
  if (all.empty())
    throw Failure(Exit::NotFound,
                  say("there is no list \"{}\"", request.list) + didYouMean(request.list, names));
  if (session.json()) {
    printJson(all, out);
    return;
  }
  for (const auto& [name, entries] : all.items()) {
    // A list that was asked for is printed bare, an entry a line.
    if (request.list.empty()) out << name << '\n';
    for (const Json& entry : entries)
      out << (request.list.empty() ? "  " : "") << entry.get<std::string>() << '\n';
  }
}

}  // namespace

void addProductVerbs(Verbs& verbs) {
  verbs.add<ProductRequest>(
      "product", "show every constant of the product, year, release and edition",
      [](CLI::App&, ProductRequest&) {}, product);
  verbs.add<NoticeRequest>(
      "notice", "print a pre-release notice in the display language",
      [](CLI::App& verb, NoticeRequest& request) {
        verb.add_option("N", request.number,
                        Phrase("0 or 1 for the printing notice, any other for the agencies' start"));
      },
      notice);
  verbs.add<PagesRequest>(
      "pages", "show the form pages and cells that are treated specially",
      [](CLI::App& verb, PagesRequest& request) {
        verb.add_option("LIST", request.list, Phrase("only this list"));
      },
      pages);
}

}  // namespace optionsmgr
