# SPDX-License-Identifier: MIT
# Runs inside CPack before the package is packed: files get the time of the commit, not of this run.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY}
    -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} + COMMAND_ERROR_IS_FATAL ANY)
endif()
