// The property list codec, binary and XML, both ways, beside libplist on the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#ifdef HAVE_LIBPLIST
#include <plist/plist.h>
#endif

#include "bench/Ratios.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyList.h"

using namespace qorvane;

namespace {

// A settings file: mostly texts, some accented, some flags, numbers and a block of bytes.
Value settings() {
  Dictionary options;
  for (int i = 0; i < 150; ++i) {
    const Text key("SomeOption" + std::to_string(i));
    if (i % 10 < 7)
      options.set(key, Text("a value of usual length " + std::to_string(i)));
    else if (i % 10 == 7)
      options.set(key, Text("Québec, à la santé n° " + std::to_string(i)));
    else if (i % 10 == 8)
      options.set(key, Number(i));
    else
      options.set(key, Data(std::string(300, static_cast<char>(i))));
  }
  return Dictionary{{"QorvaneT1Settings2020", Value(options)}};
}

template <class Step>
auto repeated(Step step) {
  return [step](std::size_t count) {
    while (count-- > 0) step();
  };
}

}  // namespace

int main() {
  const Value value = settings();
  const std::string binary = writePropertyList(value, PropertyListFormat::Binary);
  const std::string xml = writePropertyList(value, PropertyListFormat::Xml);
  ratios::Table table("Property lists of 150 options, read and written");
  table.time("reading binary", repeated([&] { ratios::keep(readPropertyList(binary)); }));
  table.time("reading XML", repeated([&] { ratios::keep(readPropertyList(xml)); }));
  table.time("writing binary",
             repeated([&] { ratios::keep(writePropertyList(value, PropertyListFormat::Binary)); }));
  table.time("writing XML",
             repeated([&] { ratios::keep(writePropertyList(value, PropertyListFormat::Xml)); }));
#ifdef HAVE_LIBPLIST
  const auto read = [](const std::string& bytes) {
    plist_t list = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &list);
    return list;
  };
  const plist_t list = read(binary);
  table.time("reading binary, libplist", repeated([&] { plist_free(read(binary)); }));
  table.time("reading XML, libplist", repeated([&] { plist_free(read(xml)); }));
  const auto written = [&](auto write) {
    return repeated([&list, write] {
      char* bytes = nullptr;
      std::uint32_t size = 0;
      write(list, &bytes, &size);
      free(bytes);
    });
  };
  table.time("writing binary, libplist", written(plist_to_bin));
  table.time("writing XML, libplist", written(plist_to_xml));
#endif
  for (const std::string job : {"reading binary", "reading XML", "writing binary", "writing XML"})
    table.compare(job, job + ", libplist", 1);
  table.run();
#ifdef HAVE_LIBPLIST
  plist_free(list);
#endif
}
