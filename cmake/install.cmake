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
set(TARNLEX_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Where zsh looks for completions; below the prefix")
install(FILES completions/tarnlex.zsh RENAME _tarnlex DESTINATION ${TARNLEX_ZSH_COMPLETIONS})
install(FILES completions/tarnlex.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
