# Debian packages by CPack, one for each component of KelPayInstall; scripts/package makes and checks them. A sandbox build
# has names of its own: both kinds of library can be installed side by side, of the others one at a time.
set(KELPAY_PACKAGER "" CACHE STRING "Who answers for the packages: Name <address>")

set(suffix "")
if(KELPAY_SANDBOX)
    set(suffix -sandbox)
endif()
set(version ${PROJECT_VERSION}-1)
set(texts "KelPay's screens, its exchange with the payment service and the state of
payments come in one shared library, for hosts in C++, QML and Qt Widgets.")
if(KELPAY_SANDBOX)
    string(APPEND texts "\n\nThis build pays against kelpay-sandbox, for development and tests.")
endif()

# kelpay_package(<component> <name> SECTION <section> TITLE <line> TEXT <lines> [DEPENDS …] [RECOMMENDS …] [RIVAL])
# RIVAL: the other kind of build has the same files in a package of that name with, or without, the suffix.
macro(kelpay_package component name)
    cmake_parse_arguments(arg "RIVAL" "SECTION;TITLE;TEXT" "DEPENDS;RECOMMENDS" ${ARGN})
    string(TOUPPER ${component} key)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${arg_SECTION})
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${arg_TITLE}\n${arg_TEXT}")
    list(JOIN arg_DEPENDS ", " CPACK_DEBIAN_${key}_PACKAGE_DEPENDS)
    list(JOIN arg_RECOMMENDS ", " CPACK_DEBIAN_${key}_PACKAGE_RECOMMENDS)
    if(arg_RIVAL AND KELPAY_SANDBOX)
        string(REPLACE "-sandbox" "" rival ${name})
        set(CPACK_DEBIAN_${key}_PACKAGE_PROVIDES "${rival} (= ${version})")
        set(CPACK_DEBIAN_${key}_PACKAGE_CONFLICTS ${rival})
        set(CPACK_DEBIAN_${key}_PACKAGE_REPLACES ${rival})
    endif()
    install(FILES ${papers}/copyright ${papers}/changelog.gz ${papers}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

# What the policy asks of each package.
set(papers ${CMAKE_CURRENT_BINARY_DIR}/papers)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(READ ${PROJECT_SOURCE_DIR}/NOTICE notice)
file(READ ${PROJECT_SOURCE_DIR}/resources/fonts/OFL.txt ofl)
file(WRITE ${papers}/copyright "${notice}\n${ofl}")
configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${papers}/changelog COPYONLY)
file(CONFIGURE OUTPUT ${papers}/changelog.Debian CONTENT
"kelpay${suffix} (${version}) unstable; urgency=medium

  * KelPay ${PROJECT_VERSION}.

 -- ${KELPAY_PACKAGER}  ${date}
")
configure_file(${PROJECT_SOURCE_DIR}/sandbox/kelpay-sandbox.1 ${papers}/kelpay-sandbox.1 COPYONLY)
execute_process(COMMAND gzip -9nkf changelog changelog.Debian kelpay-sandbox.1 WORKING_DIRECTORY ${papers} COMMAND_ERROR_IS_FATAL ANY)

set(library libkelpay${suffix}${PROJECT_VERSION_MAJOR})
kelpay_package(runtime ${library} SECTION libs TITLE "card payments with screens of their own - library" TEXT "${texts}"
    DEPENDS qml6-module-qtquick qml6-module-qtquick-templates qml6-module-qtqml-workerscript
    RECOMMENDS qml6-module-qtwebview libqt6positioning6-plugins)
kelpay_package(qml qml6-module-kelpay${suffix} RIVAL SECTION libs TITLE "card payments with screens of their own - QML module" TEXT "${texts}"
    DEPENDS "${library} (= ${version})")
set(needed "${library} (= ${version})" "qt6-base-dev (>= 6.4)")
if(KELPAY_SANDBOX)
    # KelPay::Testing.
    list(APPEND needed "qt6-declarative-dev (>= 6.4)")
endif()
kelpay_package(development libkelpay${suffix}-dev RIVAL SECTION libdevel TITLE "card payments with screens of their own - development files" TEXT "${texts}"
    DEPENDS ${needed} RECOMMENDS "qml6-module-kelpay${suffix} (= ${version})")
if(TARGET kelpay-sandbox)
    kelpay_package(sandbox kelpay-sandbox SECTION devel TITLE "payment service for the development of hosts of KelPay"
        TEXT "Answers on a loopback address as the payment service does; no money moves.")
    install(FILES ${papers}/kelpay-sandbox.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT sandbox EXCLUDE_FROM_ALL)
endif()

# The library's own.
file(CONFIGURE OUTPUT ${papers}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${papers}/triggers)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_VERSION ${version})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KELPAY_PACKAGER}")
set(CPACK_DEBIAN_PACKAGE_SOURCE kelpay${suffix})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGE_VENDOR KelPay)
include(CPack)
