# Completion and manual pages name what the programs take, no more and no less.
# A build for another machine would need its emulator in a shell script; the texts are the same.
if(CMAKE_CROSSCOMPILING)
    return()
endif()

set(programs $<TARGET_FILE:Telvane> $<TARGET_FILE:wheelsim>)
if(TARGET telvane-report)
    list(APPEND programs $<TARGET_FILE:telvane-report>)
endif()
foreach(what IN ITEMS Completion ManualPages)
    add_test(NAME packaging.${what}
        COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/packaging/check.sh ${what} ${PROJECT_SOURCE_DIR}/packaging ${programs})
endforeach()
