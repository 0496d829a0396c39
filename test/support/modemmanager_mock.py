'''ModemManager for the tests: the modems and SIMs given in the parameters, published as the real
service does (SIMs are not among the managed objects; they are read on their own paths).

parameters: {"modems": [{"path", "sim", "slots"?, "primarySlot"?, "operatorCode"?,
                         "operatorName"?}],
             "sims": [{"path", "active"?, "operatorIdentifier"?, "operatorName"?}],
             "hang": seconds GetManagedObjects takes before answering?}
'''

import dbus

from dbusmock import mockobject

BUS_NAME = 'org.freedesktop.ModemManager1'
MAIN_OBJ = '/org/freedesktop/ModemManager1'
MAIN_IFACE = 'org.freedesktop.ModemManager1'
SYSTEM_BUS = True
IS_OBJECT_MANAGER = True

MODEM_IFACE = 'org.freedesktop.ModemManager1.Modem'
MODEM_3GPP_IFACE = 'org.freedesktop.ModemManager1.Modem.Modem3gpp'
SIM_IFACE = 'org.freedesktop.ModemManager1.Sim'


def load(mock, parameters):
    for modem in parameters.get('modems', []):
        properties = {'Sim': dbus.ObjectPath(modem.get('sim', '/'))}
        if 'slots' in modem:
            properties['SimSlots'] = dbus.Array([dbus.ObjectPath(p) for p in modem['slots']],
                                                signature='o')
            properties['PrimarySimSlot'] = dbus.UInt32(modem.get('primarySlot', 0))
        mock.AddObject(modem['path'], MODEM_IFACE, properties, [])
        mockobject.objects[modem['path']].AddProperties(MODEM_3GPP_IFACE, {
            'OperatorCode': dbus.String(modem.get('operatorCode', '')),
            'OperatorName': dbus.String(modem.get('operatorName', '')),
        })
    for sim in parameters.get('sims', []):
        properties = {
            'OperatorIdentifier': dbus.String(sim.get('operatorIdentifier', '')),
            'OperatorName': dbus.String(sim.get('operatorName', '')),
            'Imsi': dbus.String(''),
            'SimIdentifier': dbus.String(''),
        }
        if 'active' in sim:
            properties['Active'] = dbus.Boolean(sim['active'])
        mock.AddObject(sim['path'], SIM_IFACE, properties, [])
    hang = f'__import__("time").sleep({float(parameters["hang"])})\n' if 'hang' in parameters else ''
    mock.AddMethod('org.freedesktop.DBus.ObjectManager', 'GetManagedObjects', '', 'a{oa{sa{sv}}}',
                   hang + 'ret = {dbus.ObjectPath(k): objects[k].props for k in objects.keys() '
                   'if k.startswith("/org/freedesktop/ModemManager1/Modem/")}')
