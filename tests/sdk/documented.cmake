# Doxygen over the installed headers, where nothing may lack its documentation.
include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(MAKE_DIRECTORY "${WORK}")
# Each header is made known to doxygen, which else would pass over the functions and enumerations in it.
file(WRITE "${WORK}/Doxyfile" "
INPUT = \"${PREFIX}/include/kyrhost\"
RECURSIVE = YES
FILE_PATTERNS = *.h
INPUT_FILTER = \"sed '1s,^,/** \\\\file */,'\"
MACRO_EXPANSION = YES
EXPAND_ONLY_PREDEF = YES
PREDEFINED = HOST_EXPORT= Q_OBJECT= Q_GADGET= Q_PROPERTY(x)= Q_ENUM(x)= Q_DECLARE_METATYPE(x)= Q_DECLARE_INTERFACE(x,y)=
OUTPUT_DIRECTORY = \"${WORK}\"
GENERATE_HTML = NO
GENERATE_LATEX = NO
GENERATE_XML = YES
HAVE_DOT = NO
QUIET = YES
WARN_AS_ERROR = FAIL_ON_WARNINGS
")
run(doxygen "${WORK}/Doxyfile")

# It has seen them, too.
file(READ "${WORK}/xml/index.xml" index)
foreach(name BasicLoyaltySystem toHundredths EDocumentType)
  if(NOT index MATCHES "<name>${name}</name>")
    message(FATAL_ERROR "doxygen did not come across ${name}")
  endif()
endforeach()
