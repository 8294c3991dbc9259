// Visibility of the interface. The library is built with everything hidden; ACTIVESET_API before a
// class, function or variable puts it into the table of exported symbols.
#ifndef ACTIVESET_EXPORT_HPP
#define ACTIVESET_EXPORT_HPP

#define ACTIVESET_API __attribute__((visibility("default")))

#endif
