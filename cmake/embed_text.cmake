# Makes a C++ source that defines texts as they stand in files, bytes and all.
#
#   cmake -DOUTPUT=page_files.cpp -DHEADER=tools/osif/report/page_files.h -DNAMESPACE=command \
#     -DTEXTS=kPageStyle=page.css,kPageScript=page.js -P embed_text.cmake
set(source "#include \"${HEADER}\"\n\nnamespace ${NAMESPACE} {\n")
string(REPLACE "," ";" texts "${TEXTS}")
foreach(text IN LISTS texts)
  string(REPLACE "=" ";" pair "${text}")
  list(GET pair 0 name)
  list(GET pair 1 file)
  file(READ "${file}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND source "namespace { constexpr char ${name}Bytes[] = {${bytes}}; }\n"
    "const std::string_view ${name}(${name}Bytes, sizeof ${name}Bytes);\n")
endforeach()
file(WRITE "${OUTPUT}" "${source}}  // namespace ${NAMESPACE}\n")
