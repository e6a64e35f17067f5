#include "qorvane/foundation/Failure.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iterator>
#include <new>
#include <string>
#include <string_view>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/FailurePattern.h"

namespace qorvane::inline v1 {

namespace {

#define FAILURE(code, english, french)               \
  static_assert(detail::isWholeRow(english, french), \
                #code ": one of the two texts is empty, or they do not take the same");
#include "qorvane/foundation/failures.def"
#undef FAILURE

struct Row {
  Text english;
  Text french;

  const Text& in(Language language) const { return language == Language::French ? french : english; }
};

constexpr Row kFailures[] = {
#define FAILURE(code, english, french) {english, french},
#include "qorvane/foundation/failures.def"
#undef FAILURE
};

struct SystemRow {
  int error;
  Row words;
};

constexpr SystemRow kSystemErrors[] = {
#define SYSTEM_ERROR(error, english, french) {error, {english, french}},
#include "qorvane/foundation/system-errors.def"
#undef SYSTEM_ERROR
};

std::string filled(const Failure& failure, Language language) {
  std::string sentence;
  detail::PatternReader reader(kFailures[static_cast<std::size_t>(failure.code)].in(language));
  for (;;) {
    const detail::PatternPiece piece = reader.next();
    switch (piece.kind) {
      case detail::PatternPiece::Kind::Argument:
        if (piece.number < failure.arguments.size()) sentence += failure.arguments[piece.number];
        break;
      case detail::PatternPiece::Kind::Cause:
        if (piece.number < failure.causes.size()) sentence += filled(failure.causes[piece.number], language);
        break;
      case detail::PatternPiece::Kind::Error:
        sentence += systemReason(failure.systemError, language);
        break;
      case detail::PatternPiece::Kind::Characters:
        sentence += piece.characters;
        break;
      case detail::PatternPiece::Kind::End:
      case detail::PatternPiece::Kind::Malformed:
        return sentence;
    }
  }
}

}  // namespace

Text Failure::reason(Language language) const { return Text(filled(*this, language)); }

Failure currentFailure() try { throw; } catch (const Exception& error) {
  return error.failure();
} catch (const std::bad_alloc&) {
  return {.code = FailureCode::outOfMemory, .systemError = ENOMEM};
} catch (const std::exception& error) {
  return {FailureCode::storeFailed, {Text(std::string_view(error.what()))}};
} catch (...) {
  return {FailureCode::storeGaveNoReason};
}

Text systemReason(int systemError, Language language) {
  const auto* const row = std::ranges::find(kSystemErrors, systemError, &SystemRow::error);
  if (row != std::end(kSystemErrors)) return row->words.in(language);
  return Text((language == Language::French ? "erreur système " : "system error ") +
              std::to_string(systemError));
}

}  // namespace qorvane::inline v1
