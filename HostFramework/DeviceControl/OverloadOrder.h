#pragma once
// The order of virtual operations that share a name.
//
// Operations stand in the table of virtual functions as they are declared; but Microsoft's compilers, and
// those that follow their ABI, put all that share a name where the first of them is, the last one declared
// first. So such a group is declared backwards for them, and its slots are the same for every compiler.

// IN_SLOT_ORDER_2 and IN_SLOT_ORDER_3 declare operations of one name, the one of the lowest slot first. The
// commas of an operation's parameters stand between its brackets, where they separate nothing.
#if defined(_MSC_VER)

#define IN_SLOT_ORDER_2(first, second)                                                                       \
    second;                                                                                                  \
    first
#define IN_SLOT_ORDER_3(first, second, third)                                                                \
    third;                                                                                                   \
    second;                                                                                                  \
    first

#else

#define IN_SLOT_ORDER_2(first, second)                                                                       \
    first;                                                                                                   \
    second
#define IN_SLOT_ORDER_3(first, second, third)                                                                \
    first;                                                                                                   \
    second;                                                                                                  \
    third

#endif
