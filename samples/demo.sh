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

say "Something in the second of these cards is unknown: the trace tells what, the card is stored all the same"
show osif receive --trace samples/warning.vcf

say "A vCard 3.0 is refused, and nothing is lost in silence: the card after it is named"
show_refusing osif receive samples/mixed-versions.vcf

say "Read one by one, the others arrive"
show_refusing osif receive --each samples/mixed-versions.vcf

say "What a synchronisation partner asks for: the changes since counter 8, and the present anchor"
show osif changes pb --since 8
show osif anchor pb

say "A contact is sent to another phone, as vCard 2.1 again"
found="$(osif find --json samples/plain.vcf | sed 's/.*"id":"\([0-9a-f]*\)".*/\1/')"
show osif send pb "$found"

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

say "A note becomes an ink document in the device's documents folder"
show osif receive samples/note.vnt
show ls "$OSIF_DEVICE/Documents"
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
