# What an installation holds, under the GNU directory names. The documents keep their places beside
# each other, so that the links between them lead somewhere.
include(GNUInstallDirs)

install(TARGETS tarnlex RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES README.md CHANGELOG.md CONTRIBUTING.md ARCHITECTURE.md LICENSE
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN tarnlex.1 EXCLUDE)
install(FILES docs/tarnlex.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES completions/tarnlex.bash RENAME tarnlex
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
