# The report of a run, its parts and the program.
telvane_test(test_ReportPictures LIBS telvane_report)
telvane_test(test_ReportVotes LIBS telvane_report)
telvane_test(test_ReportFlow LIBS telvane_report)
telvane_test(test_ReportPage LIBS telvane_report)
telvane_test(test_ReportProgram LIBS telvane_simulator PNG::PNG DEFINES
    REPORT_PATH="$<TARGET_FILE:telvane-report>" TELVANE_PATH="$<TARGET_FILE:Telvane>")
add_dependencies(test_ReportProgram telvane-report Telvane)
