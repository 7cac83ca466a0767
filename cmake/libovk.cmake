# libovk.so. Each subsystem is a folder whose sources stand here, one a topic.

find_package(Threads REQUIRED)

add_library(ovk SHARED
  auth/authentication.cpp
  auth/configuration.cpp
  auth/first_generation.cpp
  core/assertion.cpp
  core/board_state.cpp
  core/boards.cpp
  core/command.cpp
  core/driver_info.cpp
  core/lifecycle.cpp
  core/log.cpp
  core/module_services.cpp
  core/signature.cpp
  fabric/ct.cpp
  fabric/els.cpp
  fabric/scsi.cpp
  features/fcp_priority.cpp
  features/oas.cpp
  features/ras_log.cpp
  features/vmid.cpp
  hbaapi/adapter_attributes.cpp
  hbaapi/bindings.cpp
  hbaapi/events.cpp
  hbaapi/port_attributes.cpp
  hbaapi/rnid.cpp
  hbaapi/scsi_convenience.cpp
  hbaapi/statistics.cpp
  hbaapi/target_mapping.cpp
  info/link.cpp
  info/location.cpp
  info/parameters.cpp
  info/raw_access.cpp
  info/vpd.cpp
  mailbox/compatibility.cpp
  mailbox/dump.cpp
  mailbox/extended_sli_config.cpp
  mailbox/legacy_region.cpp
  mailbox/loopback.cpp
  mailbox/passthrough.cpp
  mailbox/region_mailbox.cpp
  mailbox/reset.cpp
  mailbox/retry.cpp
  npiv/nodes.cpp
  npiv/virtual_ports.cpp
  regions/fcf_list.cpp
  regions/fcoe_records.cpp
  regions/persistent_link_down.cpp
  regions/record_list.cpp
  regions/region22.cpp
  regions/region23.cpp
  regions/region_update.cpp
)

set_target_properties(ovk PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  CXX_VISIBILITY_PRESET hidden
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/core/libovk.map
  # The C driver links, so that the C++ runtime does not become a dependency.
  LINKER_LANGUAGE C)

target_compile_options(ovk PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics)
if(OVK_SANITIZE)
  target_compile_options(ovk PRIVATE -fno-sanitize=vptr)
endif()
target_include_directories(ovk
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
         $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_link_options(ovk PRIVATE
  -Wl,--version-script=${PROJECT_SOURCE_DIR}/core/libovk.map
  -Wl,--as-needed
  # An application's own function of the same name never takes the place of the library's.
  -Wl,-Bsymbolic-functions
  $<$<NOT:$<BOOL:${OVK_SANITIZE}>>:-Wl,-z,defs>)
target_link_libraries(ovk PRIVATE $<BUILD_INTERFACE:ovk_options> vmkmgmt Threads::Threads)

install(TARGETS ovk LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ovk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
