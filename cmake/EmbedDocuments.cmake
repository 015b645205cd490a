# Script (cmake -P): embed the skills/<name>/SKILL.md files in one C++ source, as raw string literals.
#   SOURCE_DIR  the folder with one folder per skill
#   SKILLS      the skills' names, separated by commas, in the order in which the module lists them
#   OUTPUT      the file to write
string(REPLACE "," ";" names "${SKILLS}")
set(entries "")
set(entries_in_utf16 "")
foreach(name IN LISTS names)
  file(READ "${SOURCE_DIR}/${name}/SKILL.md" text)
  string(APPEND entries "    core::Document{\"${name}\", R\"SKILL(${text})SKILL\"},\n")
  string(APPEND entries_in_utf16 "    uR\"SKILL(${text})SKILL\",\n")
endforeach()
file(WRITE "${OUTPUT}"
  "// Generated from the documents under skills/: edit those.\n"
  "namespace tarnel::embedded {\n"
  "constexpr std::array<core::Document, core::document_count> documents = {\n"
  "${entries}"
  "};\n"
  "constexpr std::array<std::u16string_view, core::document_count> documents_in_utf16 = {\n"
  "${entries_in_utf16}"
  "};\n"
  "}  // namespace tarnel::embedded\n")
