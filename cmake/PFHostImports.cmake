# On Windows a module is linked against the names that another module will export. The library's are those that its own
# objects leave open; so an import library of the host is made from them before there is any host, and the embedded
# host, which calls the library in turn, can be linked after it. Another host takes its place by carrying the same
# file name and exports: PFhost.def lists them.
set(PF_HOST_MODULE PFhost.dll CACHE STRING "File name of the module that provides the host's services")

set(pf_host_def ${CMAKE_CURRENT_BINARY_DIR}/PFhost.def)
set(pf_host_import ${CMAKE_CURRENT_BINARY_DIR}/libPFhost_services.a)
add_custom_command(OUTPUT ${pf_host_def} ${pf_host_import}
  COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DDLLTOOL=${CMAKE_DLLTOOL} -DMODULE=${PF_HOST_MODULE} -DDEF=${pf_host_def}
          -DIMPORT=${pf_host_import} "-DOBJECTS=$<JOIN:$<TARGET_OBJECTS:pf_objects>,|>"
          -P ${CMAKE_CURRENT_LIST_DIR}/MakeHostImports.cmake
  DEPENDS pf_objects $<TARGET_OBJECTS:pf_objects> ${CMAKE_CURRENT_LIST_DIR}/MakeHostImports.cmake
  COMMENT "Import library of the host's services" VERBATIM)
add_custom_target(pf_host_services DEPENDS ${pf_host_import})
add_dependencies(PF pf_host_services)
target_link_libraries(PF PRIVATE $<BUILD_INTERFACE:${pf_host_import}>)
set_property(TARGET PF APPEND PROPERTY LINK_DEPENDS ${pf_host_import})
