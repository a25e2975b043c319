# SPDX-License-Identifier: MIT
# Copyright (c) the Vexa camera utility library authors
#
# vexacamutl.spdx in the build folder: what is shipped and what it is made of (SPDX 2.3, tag and value), from what CMake
# knows: the sources of each target and the packages that were found. scripts/release ships it.
set(sbom_targets VexaCamUtlObjects)
foreach(target VexaCamUtlTool vexacamutl VexaCamFramesObjects VexaCamFrames)
  if(TARGET ${target})
    list(APPEND sbom_targets ${target})
  endif()
endforeach()

set(sbom_files)
foreach(target IN LISTS sbom_targets)
  get_target_property(folder ${target} SOURCE_DIR)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    if(NOT source MATCHES "^\\$")
      cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder} NORMALIZE)
      list(APPEND sbom_files ${source})
    endif()
  endforeach()
endforeach()
file(GLOB_RECURSE sbom_headers ${PROJECT_SOURCE_DIR}/include/*.h* ${PROJECT_SOURCE_DIR}/src/*.h
  ${PROJECT_SOURCE_DIR}/frames/*.h ${PROJECT_SOURCE_DIR}/tools/vexacamutl/*.h ${PROJECT_SOURCE_DIR}/python/vexacamutl/*.py)
list(APPEND sbom_files ${sbom_headers})
list(REMOVE_DUPLICATES sbom_files)
list(SORT sbom_files)

set(sbom_sums)
set(sbom_file_list "")
set(number 0)
foreach(file IN LISTS sbom_files)
  math(EXPR number "${number} + 1")
  file(SHA1 ${file} sha1)
  file(SHA256 ${file} sha256)
  list(APPEND sbom_sums ${sha1})
  cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
  string(APPEND sbom_file_list "
FileName: ./${file}
SPDXID: SPDXRef-File-${number}
FileChecksum: SHA1: ${sha1}
FileChecksum: SHA256: ${sha256}
LicenseConcluded: MIT
LicenseInfoInFile: MIT
FileCopyrightText: <text>Copyright (c) the Vexa camera utility library authors</text>
")
endforeach()
list(SORT sbom_sums)
list(JOIN sbom_sums "" sbom_sums)
string(SHA1 sbom_code "${sbom_sums}")
string(TIMESTAMP sbom_created "%Y-%m-%dT%H:%M:%SZ" UTC)  # SOURCE_DATE_EPOCH where it is set

# vexa_sbom_package(name version licence relationship comment): a package that is not ours.
set(sbom_packages "")
function(vexa_sbom_package name version licence relationship)
  string(APPEND sbom_packages "
PackageName: ${name}
SPDXID: SPDXRef-Package-${name}
PackageVersion: ${version}
PackageDownloadLocation: NOASSERTION
FilesAnalyzed: false
PackageLicenseConcluded: ${licence}
PackageLicenseDeclared: ${licence}
PackageCopyrightText: NOASSERTION
Relationship: SPDXRef-Package-vexacamutl ${relationship} SPDXRef-Package-${name}
")
  set(sbom_packages "${sbom_packages}" PARENT_SCOPE)
endfunction()
if(TARGET vexacamutl)
  # The tool's folder found them, and its variables are not visible here.
  get_directory_property(cli11_version DIRECTORY ${PROJECT_SOURCE_DIR}/tools/vexacamutl DEFINITION CLI11_VERSION)
  get_directory_property(png_version DIRECTORY ${PROJECT_SOURCE_DIR}/tools/vexacamutl DEFINITION PNG_VERSION_STRING)
  get_directory_property(deflate_version DIRECTORY ${PROJECT_SOURCE_DIR}/tools/vexacamutl DEFINITION DEFLATE_VERSION)
  get_directory_property(isal_version DIRECTORY ${PROJECT_SOURCE_DIR}/tools/vexacamutl DEFINITION ISAL_VERSION)
  get_directory_property(jpeg_version DIRECTORY ${PROJECT_SOURCE_DIR}/tools/vexacamutl DEFINITION JPEG_TURBO_VERSION)
  get_directory_property(tiff_version DIRECTORY ${PROJECT_SOURCE_DIR}/tools/vexacamutl DEFINITION TIFF_VERSION_STRING)
  vexa_sbom_package(CLI11 "${cli11_version}" BSD-3-Clause STATIC_LINK)
  vexa_sbom_package(libpng "${png_version}" libpng-2.0 DYNAMIC_LINK)
  vexa_sbom_package(libdeflate "${deflate_version}" MIT DYNAMIC_LINK)
  vexa_sbom_package(libisal "${isal_version}" BSD-3-Clause DYNAMIC_LINK)
  vexa_sbom_package(libjpeg-turbo "${jpeg_version}" "IJG AND BSD-3-Clause" DYNAMIC_LINK)
  vexa_sbom_package(libtiff "${tiff_version}" libtiff DYNAMIC_LINK)
endif()
vexa_sbom_package(libstdcxx "${CMAKE_CXX_COMPILER_VERSION}" GPL-3.0-with-GCC-exception DYNAMIC_LINK)

file(WRITE ${PROJECT_BINARY_DIR}/vexacamutl.spdx "SPDXVersion: SPDX-2.3
DataLicense: CC0-1.0
SPDXID: SPDXRef-DOCUMENT
DocumentName: vexacamutl-${PROJECT_VERSION}
DocumentNamespace: https://spdx.org/spdxdocs/vexacamutl-${PROJECT_VERSION}-${sbom_code}
Creator: Organization: the Vexa camera utility library authors
Creator: Tool: CMake-${CMAKE_VERSION}
Created: ${sbom_created}
Relationship: SPDXRef-DOCUMENT DESCRIBES SPDXRef-Package-vexacamutl

PackageName: vexacamutl
SPDXID: SPDXRef-Package-vexacamutl
PackageVersion: ${PROJECT_VERSION}
PackageDownloadLocation: NOASSERTION
FilesAnalyzed: true
PackageVerificationCode: ${sbom_code}
PackageLicenseConcluded: MIT
PackageLicenseDeclared: MIT
PackageLicenseInfoFromFiles: MIT
PackageCopyrightText: <text>Copyright (c) the Vexa camera utility library authors</text>
PackageSummary: <text>${PROJECT_DESCRIPTION}</text>
${sbom_file_list}${sbom_packages}")
