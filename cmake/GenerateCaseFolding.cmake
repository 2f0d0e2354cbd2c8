# Turns the Unicode Character Database's CaseFolding.txt into a C++ table of the simple
# foldings (status C and S). Run with -DINPUT=<CaseFolding.txt> -DOUTPUT=<file.inc>.
file(STRINGS "${INPUT}" lines REGEX "^[0-9A-F]+; [CS]; [0-9A-F]+;")
set(table "// Generated from ${INPUT}; do not edit.\n")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^([0-9A-F]+); [CS]; ([0-9A-F]+);" _ "${line}")
  string(APPEND table "{0x${CMAKE_MATCH_1}, 0x${CMAKE_MATCH_2}},\n")
endforeach()
file(WRITE "${OUTPUT}.tmp" "${table}")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
