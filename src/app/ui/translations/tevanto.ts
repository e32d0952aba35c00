<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" sourcelanguage="en">
<context>
    <name>ConnectionCard</name>
    <message>
        <source>Connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ready</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>CONNECTED</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PAIRING CODE</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy code</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy pairing code</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MacFirstRunGuide</name>
    <message>
        <source>STEP 1 OF 2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your Mac, within reach.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install Tevanto on your iPhone, then pair in a minute.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>QR code for the Tevanto App Store page</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Scan with your iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link copied</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy link</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>I have Tevanto on my iPhone</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PanelFooter</name>
    <message>
        <source>Open setup window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Website</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Support</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Privacy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Terms</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PanelHeader</name>
    <message>
        <source>Tevanto</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Device companion</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PermissionRow</name>
    <message>
        <source>Permission missing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Settings</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PermissionsSection</name>
    <message>
        <source>Permissions</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Accessibility</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allows pointer and keyboard control.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screen Recording</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allows this screen to be mirrored.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Status</name>
    <message>
        <source>Starting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Waiting for iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pair from iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Authenticating iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>iPhone connected</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>iPhone reconnecting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paired</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Accessibility required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Server failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cannot start server</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sharing screen…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mirroring to iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screen server failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Rejected an unpaired iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screen recording permission needed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No display to capture</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Screen capture stopped</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep Awake off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keeps running after screen lock</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Battery too low (%1%) to keep awake</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Battery floor hit (%1%), turning off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto-off after %1h</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Couldn&apos;t enable Keep Awake (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Couldn&apos;t disable Keep Awake (%1)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Starts after login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Approval required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install in Applications</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unavailable</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SwitchesCard</name>
    <message>
        <source>Off when the screen locks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Keep running after screen lock</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Launch at login</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TrayIcon</name>
    <message>
        <source>Disconnect phone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open setup window</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>TrayToolTip</name>
    <message>
        <source>Tevanto: your screen is being mirrored</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tevanto: a phone is connected; your screen is not mirrored</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tevanto: no phone is connected</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
