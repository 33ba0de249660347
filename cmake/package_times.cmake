# Gives all that goes into a package one date, so that the same sources make the same package.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec
    touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +)
endif()
