#pragma once

#include <dispatch/dispatch.h>
#include <stdint.h>

// "dnssd": registering services.

typedef struct _DNSServiceRef_t* DNSServiceRef SINCE(10.12, "DNSServiceRef");
typedef uint32_t DNSServiceFlags SINCE(10.12, "DNSServiceFlags");
typedef int32_t DNSServiceErrorType SINCE(10.12, "DNSServiceErrorType");
typedef void (*DNSServiceRegisterReply)(DNSServiceRef sdRef, DNSServiceFlags flags, DNSServiceErrorType errorCode, const char* name, const char* regtype, const char* domain, void* context) SINCE(10.12, "DNSServiceRegisterReply");
typedef void (*DNSServiceResolveReply)(DNSServiceRef sdRef, DNSServiceFlags flags, uint32_t interfaceIndex, DNSServiceErrorType errorCode, const char* fullname, const char* hosttarget, uint16_t port, uint16_t txtLen, const unsigned char* txtRecord, void* context) SINCE(10.12, "DNSServiceResolveReply");

#define kDNSServiceInterfaceIndexAny 0  // SINCE(10.12, "kDNSServiceInterfaceIndexAny")
enum {
  kDNSServiceFlagsAdd SINCE(10.12, "kDNSServiceFlagsAdd") = 0x2,
  kDNSServiceFlagsIncludeP2P SINCE(10.12, "kDNSServiceFlagsIncludeP2P") = 0x20000,
  kDNSServiceFlagsIncludeAWDL SINCE(10.12, "kDNSServiceFlagsIncludeAWDL") = 0x100000
};
enum {
  kDNSServiceErr_NoError SINCE(10.12, "kDNSServiceErr_NoError") = 0,
  kDNSServiceErr_BadParam SINCE(10.12, "kDNSServiceErr_BadParam") = -65540,
  kDNSServiceErr_NameConflict SINCE(10.12, "kDNSServiceErr_NameConflict") = -65548,
  kDNSServiceErr_Invalid SINCE(10.12, "kDNSServiceErr_Invalid") = -65549,
  kDNSServiceErr_NoAuth SINCE(10.12, "kDNSServiceErr_NoAuth") = -65555,
  kDNSServiceErr_ServiceNotRunning SINCE(10.12, "kDNSServiceErr_ServiceNotRunning") = -65563,
  kDNSServiceErr_DefunctConnection SINCE(11.0, "kDNSServiceErr_DefunctConnection") = -65569,
  kDNSServiceErr_PolicyDenied SINCE(11.0, "kDNSServiceErr_PolicyDenied") = -65570
};

extern "C" {
DNSServiceErrorType DNSServiceRegister(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex, const char* name, const char* regtype, const char* domain, const char* host, uint16_t port, uint16_t txtLen, const void* txtRecord, DNSServiceRegisterReply callBack, void* context) SINCE(10.12, "DNSServiceRegister");
DNSServiceErrorType DNSServiceResolve(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex, const char* name, const char* regtype, const char* domain, DNSServiceResolveReply callBack, void* context) SINCE(10.12, "DNSServiceResolve");
DNSServiceErrorType DNSServiceSetDispatchQueue(DNSServiceRef service, dispatch_queue_t queue) SINCE(10.12, "DNSServiceSetDispatchQueue");
void DNSServiceRefDeallocate(DNSServiceRef sdRef) SINCE(10.12, "DNSServiceRefDeallocate");
}
