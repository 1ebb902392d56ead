# Resources are linked into the programs as byte arrays of a generated
# source, so that no program can start without them and none is looked up in
# the file system at run time.
#
#   brassfold_embed_resources(TARGET foundation
#     RESOURCES <type> <number> <file> [<type> <number> <file> ...])
#
# The target gets a source that defines GetEmbeddedResources() of
# "foundation/EmbeddedResources.h". The same file, run with cmake -P, writes
# that source.

if(CMAKE_SCRIPT_MODE_FILE)
  # Script mode: OUTPUT and RESOURCES (triples joined by '|') are given.
  string(REPLACE "|" ";" resources "${RESOURCES}")
  set(arrays "")
  set(entries "")
  set(index 0)
  list(LENGTH resources count)
  while(index LESS count)
    list(GET resources ${index} type)
    math(EXPR at "${index} + 1")
    list(GET resources ${at} number)
    math(EXPR at "${index} + 2")
    list(GET resources ${at} path)
    file(READ "${path}" hex HEX)
    string(LENGTH "${hex}" digits)
    math(EXPR size "${digits} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    set(sixteen "")
    foreach(i RANGE 15)
      string(APPEND sixteen "0x..,")
    endforeach()
    string(REGEX REPLACE "(${sixteen})" "\\1\n    " bytes "${bytes}")
    get_filename_component(name "${path}" NAME)
    string(APPEND arrays "// ${name}\nconst u8 k${type}${number}[${size}] = {\n    ${bytes}};\n\n")
    string(APPEND entries "    {\"${type}\", ${number}, k${type}${number}, sizeof k${type}${number}},\n")
    math(EXPR index "${index} + 3")
  endwhile()
  file(WRITE "${OUTPUT}.new"
    "// Made at build time from the files in resources/; edit those instead.\n"
    "#include \"foundation/EmbeddedResources.h\"\n\n"
    "namespace\n{\n${arrays}const TEmbeddedResource kResources[] = {\n${entries}};\n} // namespace\n\n"
    "std::span<const TEmbeddedResource> GetEmbeddedResources()\n{\n    return kResources;\n}\n")
  # Only a changed source is rewritten, so that an unchanged one isn't compiled again.
  file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
  file(REMOVE "${OUTPUT}.new")
  return()
endif()

set(BRASSFOLD_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

function(brassfold_embed_resources)
  cmake_parse_arguments(E "" "TARGET" "RESOURCES" ${ARGN})
  list(LENGTH E_RESOURCES count)
  math(EXPR triples "${count} % 3")
  if(count EQUAL 0 OR NOT triples EQUAL 0)
    message(FATAL_ERROR "brassfold_embed_resources: RESOURCES takes <type> <number> <file> triples")
  endif()
  set(files "")
  set(index 2)
  while(index LESS count)
    list(GET E_RESOURCES ${index} path)
    list(APPEND files ${path})
    math(EXPR index "${index} + 3")
  endwhile()
  string(REPLACE ";" "|" joined "${E_RESOURCES}")
  set(output ${CMAKE_CURRENT_BINARY_DIR}/EmbeddedResources.cpp)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DRESOURCES=${joined} -P ${BRASSFOLD_EMBED_SCRIPT}
    DEPENDS ${files} ${BRASSFOLD_EMBED_SCRIPT}
    COMMENT "Embedding resources in ${E_TARGET}"
    VERBATIM)
  target_sources(${E_TARGET} PRIVATE ${output})
endfunction()
