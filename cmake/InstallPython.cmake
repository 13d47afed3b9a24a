# Installs the Python package of `source` as Debian lays it out. pip builds in the folder that it is given: it gets a copy.
set(root "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")
set(packages "${root}/lib/python3/dist-packages")
file(REMOVE_RECURSE "${scratch}")
file(COPY "${source}/" DESTINATION "${scratch}/source"
  PATTERN __pycache__ EXCLUDE PATTERN build EXCLUDE PATTERN *.egg-info EXCLUDE)
execute_process(
  COMMAND /usr/bin/python3 -m pip install --quiet --no-deps --no-index --no-build-isolation --no-compile
          --disable-pip-version-check --root-user-action=ignore --target "${scratch}/installed" "${scratch}/source"
  COMMAND_ERROR_IS_FATAL ANY)

# These say where it was built, and what pip would remove; here the package manager does.
file(GLOB notes "${scratch}/installed/*.dist-info/RECORD" "${scratch}/installed/*.dist-info/REQUESTED"
  "${scratch}/installed/*.dist-info/direct_url.json" "${scratch}/installed/*.dist-info/top_level.txt")
foreach(note IN LISTS notes)
  file(REMOVE "${note}")
endforeach()
file(GLOB information "${scratch}/installed/*.dist-info")
file(WRITE "${information}/INSTALLER" "debian\n")
file(COPY "${scratch}/installed/tessarel" "${information}" DESTINATION "${packages}")
if(EXISTS "${scratch}/installed/bin")
  file(COPY "${scratch}/installed/bin/" DESTINATION "${root}/bin")
endif()
