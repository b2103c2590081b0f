# Finds libuuid and its header, and makes the target LibUUID::LibUUID. Installed with the package, so that a program finds
# the libuuid of its own machine.
find_path(LibUUID_INCLUDE_DIR uuid/uuid.h)
find_library(LibUUID_LIBRARY uuid)
mark_as_advanced(LibUUID_INCLUDE_DIR LibUUID_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibUUID REQUIRED_VARS LibUUID_LIBRARY LibUUID_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "On Debian it is in the package uuid-dev.")

if(LibUUID_FOUND AND NOT TARGET LibUUID::LibUUID)
  add_library(LibUUID::LibUUID UNKNOWN IMPORTED)
  set_target_properties(LibUUID::LibUUID PROPERTIES
    IMPORTED_LOCATION ${LibUUID_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${LibUUID_INCLUDE_DIR})
endif()
