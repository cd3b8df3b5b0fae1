# CPack runs this to pack the staged files. The bytes of the tarball depend only on the files: sorted names, one time for
# all, no owner, the same permissions whatever the umask.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(time $ENV{SOURCE_DATE_EPOCH})
else()
    execute_process(COMMAND git -C ${CPACK_OSTRAVEL_SOURCE_DIR} log -1 --format=%ct OUTPUT_VARIABLE time
        OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT time)
        set(time 315532800) # 1980, the beginning of zip files
    endif()
endif()

set(tarball ${CPACK_TOPLEVEL_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.tar.gz)
execute_process(
    COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C tar --create --directory=${CPACK_TEMPORARY_DIRECTORY} --format=gnu
        --sort=name --mtime=@${time} --owner=0 --group=0 --numeric-owner --mode=u=rwX,go=rX
        --transform=s,^[.],${CPACK_PACKAGE_FILE_NAME},S .
    COMMAND gzip --no-name --best
    OUTPUT_FILE ${tarball} COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${tarball})
