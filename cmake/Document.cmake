# Writes the document SOURCE to RESULT, with links as they are where it is installed: all documents lie in one folder, and a link
# to what is not installed leaves its text.
file(READ "${SOURCE}" text)
foreach(name IN ITEMS README.md loader.md)
  string(REGEX REPLACE "\\]\\(\\.\\./[^)]*/${name}" "](${name}" text "${text}")
endforeach()
string(REGEX REPLACE "\\[([^]]+)\\]\\(\\.\\./[^)]*\\)" "\\1" text "${text}")
file(WRITE "${RESULT}" "${text}")
