# A program that includes every header and links every library, by what pkg-config says.
include("${CMAKE_CURRENT_LIST_DIR}/run.cmake")

file(MAKE_DIRECTORY "${WORK}")
file(GLOB_RECURSE headers RELATIVE "${PREFIX}/include/kyrhost" "${PREFIX}/include/kyrhost/host/*.h")
list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"\n")
list(JOIN headers "" includes)
file(WRITE "${WORK}/all.cpp" "${includes}
int main()
{
    Document receipt(SaleReceipt, QStringLiteral(\"R-1\"));
    return receipt.getSum() == 0 && RestClient::timeoutOf(0) == RestClient::defaultTimeout &&
           utils::toHundredths(0.01) == 1 && utils::logger(QStringLiteral(\"host\")) ? 0 : 1;
}
")
file(GLOB_RECURSE pc "${PREFIX}/*/kyrhost.pc")
get_filename_component(folder "${pc}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${folder}")
run(pkg-config --cflags --libs kyrhost)
separate_arguments(flags UNIX_COMMAND "${output}")
run("${CXX}" -fPIC "${WORK}/all.cpp" -o "${WORK}/all" ${flags} -Wl,-rpath,${folder}/..)
run("${WORK}/all")
