// The serial ports that libserialport finds.

#include "platform/backends.h"
#include "platform/port_names.h"

#include <cstdlib>
#include <libserialport.h>
#include <memory>

struct FreePortList
{
    void operator()(sp_port **list) const { sp_free_port_list(list); }
};

// Makers' strings come from the device, so a control character in one is possible.
static std::string PrintableText(const char *text)
{
    std::string printable = text ? text : "";
    for (char &c : printable)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = ' ';
    return printable;
}

std::string RealDevice(const std::string &device)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(device.c_str(), nullptr),
                                                           &std::free);
    return real ? real.get() : device;
}

static ZVK_PortFacts FactsOf(const sp_port *port)
{
    ZVK_PortFacts facts;
    facts.device = RealDevice(PrintableText(sp_get_port_name(port)));
    facts.usb = sp_get_port_transport(port) == SP_TRANSPORT_USB;
    if (!facts.usb) return facts;
    facts.maker = PrintableText(sp_get_port_usb_manufacturer(port));
    facts.product = PrintableText(sp_get_port_usb_product(port));
    if (sp_get_port_usb_vid_pid(port, &facts.vendorId, &facts.productId) != SP_OK)
        facts.vendorId = facts.productId = 0;
    return facts;
}

bool SystemPorts(std::vector<ZVK_PortEntry> &ports)
{
    sp_port **found = nullptr;
    if (sp_list_ports(&found) != SP_OK) return false;
    const std::unique_ptr<sp_port *, FreePortList> list(found);
    for (sp_port **port = found; *port; ++port) {
        const ZVK_PortFacts facts = FactsOf(*port);
        std::string name = ComposePortName(facts);
        if (!name.empty()) ports.push_back({std::move(name), facts.device});
    }
    return true;
}
