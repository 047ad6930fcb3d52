# The tour that "./run demo" gives. It is read by that script, which has built the command, put it into PATH
# and made a device folder; `say` and `show` are its own.

say "An empty device: the library makes it at the first call"
show osif count pb

say "A phone sends a contact (vCard 2.1); it is stored"
show cat samples/plain.vcf
show osif receive samples/plain.vcf

say "More contacts: quoted-printable in UTF-8 and Latin-1, Shift-JIS, and an address book of five"
show osif receive samples/quoted-printable.vcf samples/shift-jis.vcf samples/address-book.vcf
show osif list pb

say "The phone's owner has a new number and sends the contact again: it is found by its name and changed"
show osif receive --json samples/changed.vcf
show osif find samples/changed.vcf

say "Something in the second of these cards has no place in the store: that is said, the card is stored"
show osif receive samples/warning.vcf

say "Cards of today, with groups, labels and a picture; and a backup of an old phone, in its own character set"
show osif receive samples/modern.vcf samples/old-backup.vcf
show osif list pb

say "The library itself is strict: it refuses a vCard 3.0, and nothing is lost in silence"
show_refusing osif receive --strict samples/mixed-versions.vcf
show osif receive samples/mixed-versions.vcf

say "What a synchronisation partner asks for: the changes since counter 8, and the present anchor"
show osif changes pb --since 8
show osif anchor pb

say "A contact is sent to another phone, as vCard 2.1 again"
found="$(osif find --json samples/plain.vcf | sed 's/.*"id":"\([0-9a-f]*\)".*/\1/')"
show osif send pb "$found"

say "Or in the form that programs of today read"
show osif send pb "$found" --as vcard40

say "All contacts go into one file, and one is deleted"
show osif export pb -o "$demo_folder/all.vcf"
show osif delete pb "$found"
show osif count pb

say "Without storing anything: what the library reads out of a card"
show osif parse samples/shift-jis.vcf

say "Appointments and tasks: a calendar arrives, is listed and found, and goes out again"
show osif receive samples/calendar.vcs
show osif list cal
show osif find samples/calendar.vcs
event="$(osif find --json samples/calendar.vcs | sed -n '1s/.*"id":"\([0-9a-f]*\)".*/\1/p')"
show osif send cal "$event"

say "An invitation from a mail program (iCalendar 2.0): when does it take place?"
show osif receive samples/invitation.ics
invitation="$(osif find --json samples/invitation.ics | sed -n '1s/.*"id":"\([0-9a-f]*\)".*/\1/p')"
show osif show cal "$invitation"

say "A note becomes an ink document in the device's documents folder"
show osif receive samples/note.vnt
show ls "$OSIF_DEVICE/Documents"
show osif notes
show osif find samples/note.vnt

say "Messages go into the messaging store: Inbox, Sent items and Outbox, each by its folder"
show osif receive samples/messages.vmg
show osif find samples/messages.vmg
for store in msg-in msg-sent msg-out; do
  message="$(osif find --json samples/messages.vmg | sed -n "s/.*\"store\":\"$store\",\"id\":\"\([0-9A-F]*\)\".*/\1/p")"
  show osif send "$store" "$message"
done

say "What changed in each store since a partner saw nothing of it"
for store in pb cal note msg-in msg-sent msg-out; do
  show osif changes "$store"
done

say "A backup of a phone's text messages is stored; and old files become files of today, without any device"
show osif receive samples/sms-backup.vmg
show osif convert samples/sms-backup.vmg --to mbox
show osif convert samples/old-backup.vcf --to vcard40
