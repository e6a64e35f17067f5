// The store itself, its places and who belongs where.
#include <iostream>

#include "firm/Migrations.h"
#include "firm/Store.h"
#include "firm/VerbList.h"

namespace optionsmgr::firm {

Exit init(Connection& server, const Said& said) {
  initialize(server, said.restored);
  std::cout << say(Word::ready) << '\n';
  if (server
          .ask("SELECT FROM pg_catalog.pg_proc p WHERE p.oid = "
               "'pg_catalog.lo_create(oid)'::pg_catalog.regprocedure AND "
               "pg_catalog.has_function_privilege('public', p.oid, 'EXECUTE')")
          .size() > 0)
    std::cerr << "optionsmgr-firm: " << say(Word::largeObjectsOpen) << '\n';
  // Each desk stays connected, and administrators and backups come besides.
  const Rows room = server.ask("SELECT c.allowed, c.desks FROM optionsmgr.capacity() AS c");
  if (std::stoll(room.text(0, 0)) < std::stoll(room.text(0, 1)) + 10)
    std::cerr << "optionsmgr-firm: " << say(Word::fewConnections, room.text(0, 0), room.text(0, 1)) << '\n';
  return Exit::Done;
}

Exit placeAdd(Connection& server, const Said& said) {
  const Field parent = said.under.empty() ? Field() : Field(placeCalled(server, said.under));
  const Stored stored = store(server, changeOf("add_place", "$3::bigint, $4, $5",
                                               {parent, said.words.at(0), said.kind}, said.comment));
  std::cout << say(Word::placeAdded, said.words.at(0)) << '\n';
  if (stored.warnings.empty()) return Exit::Done;
  throw FirmFailure(Exit::Unavailable, Word::storedNotOnStandby, stored.warnings.front());
}

Exit placeMove(Connection& server, const Said& said) {
  return perform(
      server, said,
      changeOf("move_place", "$3::bigint, $4::bigint",
               {placeCalled(server, said.words.at(0)), placeCalled(server, said.under)}, said.comment));
}

Exit placeRemove(Connection& server, const Said& said) {
  return perform(
      server, said,
      changeOf("remove_place", "$3::bigint", {placeCalled(server, said.words.at(0))}, said.comment));
}

Exit placeList(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT t.path, t.kind, CASE WHEN t.admin THEN 'admin' ELSE '' END FROM optionsmgr.tree t "
      "ORDER BY t.path");
  std::vector<std::vector<Field>> shown;
  shown.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i)
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2)});
  print(said, {"place", "kind", "sight"}, shown);
  return Exit::Done;
}

Exit grant(Connection& server, const Said& said) {
  return perform(
      server, said,
      changeOf("grant_place", "$3, $4::bigint, $5::boolean",
               {said.role, placeCalled(server, said.place), said.admin ? "true" : "false"}, said.comment));
}

Exit revoke(Connection& server, const Said& said) {
  return perform(
      server, said,
      changeOf("revoke_place", "$3, $4::bigint", {said.role, placeCalled(server, said.place)}, said.comment));
}

}  // namespace optionsmgr::firm
