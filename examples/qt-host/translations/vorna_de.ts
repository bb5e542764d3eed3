<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>Vorna</name>
    <message><source>Describe the bug and tap Submit</source><translation>Beschreibe den Fehler und tippe auf Senden</translation></message>
    <message><source>Submit</source><translation>Senden</translation></message>
    <message><source>Wrap-up</source><translation>Abschluss</translation></message>
    <message><source>Your email</source><translation>Deine E-Mail</translation></message>
    <message><source>Optional, if you&apos;re available for a follow-up</source><translation>Optional, falls wir nachfragen dürfen</translation></message>
    <message><source>Attachment</source><translation>Anhang</translation></message>
    <message><source>Inspect Bug</source><translation>Fehler ansehen</translation></message>
    <message><source>How to report better bugs?</source><translation>Wie meldet man Fehler besser?</translation></message>
    <message><source>Read here</source><translation>Hier lesen</translation></message>
    <message><source>Inspect bug</source><translation>Fehler ansehen</translation></message>
    <message><source>Essentials</source><translation>Das Wichtigste</translation></message>
    <message><source>APP VERSION</source><translation>APP-VERSION</translation></message>
    <message><source>NETWORK</source><translation>NETZWERK</translation></message>
    <message><source>CURRENT VIEW</source><translation>AKTUELLE ANSICHT</translation></message>
    <message><source>LOCALE</source><translation>GEBIETSSCHEMA</translation></message>
    <message><source>AVAILABLE MEMORY</source><translation>FREIER SPEICHER</translation></message>
    <message><source>AVAILABLE STORAGE</source><translation>FREIER PLATZ</translation></message>
    <message><source>RESOLUTION</source><translation>AUFLÖSUNG</translation></message>
    <message><source>Quick Facts</source><translation>Kurzinfos</translation></message>
    <message><source>Quick Facts not enabled.</source><translation>Kurzinfos sind nicht eingeschaltet.</translation></message>
    <message><source>Granted permissions</source><translation>Erteilte Berechtigungen</translation></message>
    <message><source>ALL OTHERS WERE EITHER DENIED OR NOT ASKED FOR.</source><translation>ALLE ANDEREN WURDEN ABGELEHNT ODER NIE ERFRAGT.</translation></message>
    <message><source>Bug submitted successfully.</source><translation>Fehler erfolgreich gemeldet.</translation></message>
    <message><source>Reporting disabled</source><translation>Melden ausgeschaltet</translation></message>
    <message><source>App&apos;s administrator has disabled bug reporting for now </source><translation>Die Verwaltung der App hat das Melden von Fehlern vorerst ausgeschaltet </translation></message>
    <message><source> Try restarting the app or contact admin.</source><translation> Starte die App neu oder wende dich an die Verwaltung.</translation></message>
    <message><source>Dismiss</source><translation>Schließen</translation></message>
</context>
</TS>
