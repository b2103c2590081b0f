# The interface as machine code sees it: functions with their parameters, classes with the places of their members. The
# target `abi-baseline` writes it down for the architecture that is built for; a test compares every library with that.
set(ZQ_ABI_BASELINE ${PROJECT_SOURCE_DIR}/Foundation/abi/${CMAKE_LIBRARY_ARCHITECTURE}.xml)
set(ZQ_ABI_OPTIONS --exported-interfaces-only --suppressions ${PROJECT_SOURCE_DIR}/Foundation/abi/suppressions.ini)

# Types that no header of the library or of the cross compiler's C library declares are private, and left out.
add_custom_target(abi-baseline
  COMMAND abidw ${ZQ_ABI_OPTIONS} --drop-private-types --headers-dir ${PROJECT_SOURCE_DIR}/Foundation/include
          --headers-dir /usr/${CMAKE_LIBRARY_ARCHITECTURE}/include --drop-undefined-syms --no-corpus-path --no-comp-dir-path
          --no-show-locs --no-elf-needed --no-parameter-names --no-write-default-sizes
          --out-file ${ZQ_ABI_BASELINE} $<TARGET_FILE:ZQFoundation>
  COMMAND sed -i "s,path='[./]*,path='," ${ZQ_ABI_BASELINE}  # a compiler cache may make paths relative
  COMMENT "Writing ${ZQ_ABI_BASELINE}" VERBATIM)
add_dependencies(abi-baseline ZQFoundation)
