# The layers of the source tree and the includes each may use (docs/ARCHITECTURE.md). Every build
# checks them with cmake/check_layers.cmake; a file that includes a header of a layer it may not
# use fails the build.
#
# One line per layer:   name | folders | layers whose headers it may include | may include Qt
# Folders are relative to the source root; a file belongs to the layer of the longest folder that
# holds it. Every file under the checked folders must belong to a layer. Splitting a layer means
# adding a line, moving folders to it and naming it where it may be included.
set(PENDARA_LAYERS
    "host     | src/host                                   | host                             | no"
    "engine   | src/model src/companies src/matching
                src/posting src/reports src/group          | host engine                      | no"
    "services | src/services                               | host engine services             | no"
    "view     | src/ui                                     | host engine services view        | no"
    "qt       | src/ui/qt                                  | host engine services view qt     | yes"
    "cli      | tools/cli                                  | host cli                         | no"
    "tools    | tools/pendara_cli tools/qvdata             | host engine services cli tools   | no"
    "support  | tests/support                              | host support                     | no"
)

# The folders whose files are checked.
set(PENDARA_CHECKED_FOLDERS src tools tests/support)
# Where an included name is looked for after the including file's own folder (the include
# directories of the targets).
set(PENDARA_INCLUDE_ROOTS src tools tests)
