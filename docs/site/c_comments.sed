# Makes doxygen see the comments of the C header: behind a declaration they belong to it, before one to what follows.
/^ACTIVESET_C_API/! s|\([;,{0-9A-Z_] *\)/\* |\1/**< |
/^ *[A-Z_]* =$/! s|^\( *\)/\* |\1/** |
s|/\*\* NOLINT.*||
s|/\*\* ---- .*|/*|
s|^ACTIVESET_C_API ||
s|^#define ACTIVESET_C_API.*||
s|^typedef \(enum [a-z_]* {\)|\1|
s|^typedef \(struct [a-z_]* {\)|\1|
s|^} activeset_[a-z_]*;|};|
