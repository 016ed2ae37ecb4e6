# Makes a manual page of what a program prints for --help.
#   cmake -DPROGRAM=... -DNAME=... -DSUMMARY=... -DOUTPUT=... -P help-page.cmake
execute_process(COMMAND ${PROGRAM} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
foreach(text IN ITEMS help NAME SUMMARY)
  string(REPLACE "\\" "\\e" ${text} "${${text}}")
  string(REPLACE "-" "\\-" ${text} "${${text}}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" ${text} "${${text}}")
endforeach()
string(TOUPPER "${NAME}" title)
file(WRITE ${OUTPUT} ".TH \"${title}\" 1 \"\" \"CQApi\" \"User Commands\"
.SH NAME
${NAME} \\- ${SUMMARY}
.SH DESCRIPTION
.nf
${help}.fi
.SH \"SEE ALSO\"
.BR cq (1)
")
