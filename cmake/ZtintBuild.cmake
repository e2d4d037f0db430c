# Compiler settings and small helpers shared by every target of the project.

add_compile_options(-Wall -Wextra)
if(ZTINT_WERROR)
  add_compile_options(-Werror)
endif()
# Every program and library binds its symbols when it is loaded and then makes its
# relocation tables read-only (full RELRO): no table an attacker could overwrite, and
# no lazy binding left for a process's first call to pay for.
add_link_options(-Wl,-z,relro -Wl,-z,now)
if(ZTINT_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# ztint_glob(<out-var> <dir>...): the .cpp files below the given source folders.
# Folders are globbed so that adding a unit to a folder needs no build edit.
function(ztint_glob out)
  set(files)
  foreach(dir IN LISTS ARGN)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${dir}/*.cpp)
    list(APPEND files ${found})
  endforeach()
  list(SORT files)
  set(${out} ${files} PARENT_SCOPE)
endfunction()
