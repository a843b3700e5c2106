#pragma once
// The adapter and ARP operations that this system calls, under their Windows names, types and result codes.
// On Windows this header hands over to the system's own; elsewhere Platform/posix/IpHelper.cpp defines them.

#include "Platform/Kernel.h"

#if defined(_WIN32)

#include "Platform/Winsock.h"
#include <iphlpapi.h>

#else

#include <cstddef>
#include <ctime>

inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_BAD_NET_NAME = 67;
inline constexpr DWORD ERROR_BUFFER_OVERFLOW = 111;
inline constexpr DWORD ERROR_NO_DATA = 232;
inline constexpr DWORD ERROR_NOT_FOUND = 1168;
inline constexpr DWORD NO_ERROR = 0;

inline constexpr std::size_t MAX_ADAPTER_DESCRIPTION_LENGTH = 128;
inline constexpr std::size_t MAX_ADAPTER_NAME_LENGTH = 256;
inline constexpr std::size_t MAX_ADAPTER_ADDRESS_LENGTH = 8;

inline constexpr UINT MIB_IF_TYPE_OTHER = 1;
inline constexpr UINT MIB_IF_TYPE_ETHERNET = 6;

/// An IPv4 address in network byte order.
using IPAddr = ULONG;

/// An IPv4 address or mask in dotted decimal, zero-terminated.
struct IP_ADDRESS_STRING {
    char String[4 * 4];
};
using IP_MASK_STRING = IP_ADDRESS_STRING;

/// One address of a list, with its mask.
struct IP_ADDR_STRING {
    IP_ADDR_STRING* Next; ///< null behind the last
    IP_ADDRESS_STRING IpAddress;
    IP_MASK_STRING IpMask;
    DWORD Context;
};

/// One adapter of a list.
struct IP_ADAPTER_INFO {
    IP_ADAPTER_INFO* Next; ///< null behind the last
    DWORD ComboIndex;
    char AdapterName[MAX_ADAPTER_NAME_LENGTH + 4];
    char Description[MAX_ADAPTER_DESCRIPTION_LENGTH + 4];
    UINT AddressLength; ///< how many bytes of Address count
    BYTE Address[MAX_ADAPTER_ADDRESS_LENGTH];
    DWORD Index;
    UINT Type; ///< MIB_IF_TYPE_...
    UINT DhcpEnabled;
    IP_ADDR_STRING* CurrentIpAddress;
    IP_ADDR_STRING IpAddressList; ///< the first address; the others hang on it
    IP_ADDR_STRING GatewayList;
    IP_ADDR_STRING DhcpServer;
    BOOL HaveWins;
    IP_ADDR_STRING PrimaryWinsServer;
    IP_ADDR_STRING SecondaryWinsServer;
    std::time_t LeaseObtained;
    std::time_t LeaseExpires;
};

/// Stores the list of this machine's adapters at `adapters`, in a buffer of `*bytes` bytes that the caller
/// owns and everything in the list points into.
///
/// Listed is every adapter that is up and holds an IPv4 address; the loopback is not. Names, hardware
/// address, index, type and addresses are filled; gateways, DHCP and WINS are left empty ("0.0.0.0" with mask
/// "0.0.0.0").
///
/// NO_ERROR, with the list's size in `*bytes`; ERROR_BUFFER_OVERFLOW for a null or too small buffer, with the
/// needed size in `*bytes` and room for adapters that appear meanwhile, 16 on POSIX systems (call with none
/// first, then with one of that size); ERROR_NO_DATA if there is no adapter, buffer or not;
/// ERROR_INVALID_PARAMETER for a null `bytes`; ERROR_GEN_FAILURE if the system does not tell.
DWORD GetAdaptersInfo(IP_ADAPTER_INFO* adapters, ULONG* bytes);

/// The hardware address behind an IPv4 address of the same network, by ARP. `source` is the own address to
/// ask from, 0 for any. On entry `*macBytes` is the size of the buffer at `mac`, on success the address'
/// length.
///
/// An own address answers at once with its adapter's hardware address; the loopback's has no bytes, so its
/// length is 0. Any other is answered from the system's table, and if that has no entry the system is made
/// to ask; this blocks for about 3 s at most.
///
/// NO_ERROR; ERROR_BAD_NET_NAME if nobody answers, and at once for an address of no network of this
/// machine, for a broadcast and for 0; ERROR_NOT_FOUND for a `source` that is no own address;
/// ERROR_BUFFER_OVERFLOW if the buffer is too small; ERROR_INVALID_PARAMETER for a null pointer or an
/// empty buffer; ERROR_GEN_FAILURE if the system does not tell.
DWORD SendARP(IPAddr destination, IPAddr source, void* mac, ULONG* macBytes);

#endif
