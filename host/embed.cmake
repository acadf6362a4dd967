# Writes INPUT, a text file, as a C string into the header OUTPUT. Raw strings have a length limit
# in some compilers, so the text goes in line by line.
file(READ ${INPUT} text)
string(REPLACE "\\" "\\\\" text "${text}")
string(REPLACE "\"" "\\\"" text "${text}")
string(REPLACE "\n" "\\n\"\n    \"" text "${text}")
file(WRITE ${OUTPUT} "// Made from records.py by the build.
#pragma once
inline constexpr char RECORDS_SOURCE[] =
    \"${text}\";
")
