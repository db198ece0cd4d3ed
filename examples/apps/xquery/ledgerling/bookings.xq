xquery version "3.1";

(: Bookings by account, with the balance after each. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $currency as xs:string external;
declare variable $opening-balance as xs:string external;

declare function local:amount($booking as element(record)) as xs:decimal? {
  ev:field($booking, "Units") ! xs:decimal(substring-before(., " "))
};

declare function local:bookings($sorted as element(record)*, $start as xs:decimal)
    as element(booking)* {
  for $booking at $place in $sorted
  let $balance := $start + sum($sorted[position() le $place] ! local:amount(.))
  return
    <booking direction="{ ev:field($booking, 'Direction') }" balance="{ $balance }">{
      ev:attribute("id", $booking/@id),
      ev:origin($booking),
      ev:element("time", ev:field($booking, "Booked")),
      ev:element("amount", ev:field($booking, "Units")),
      ev:element("category", ev:field($booking, "Category")),
      ev:element("text", ev:field($booking, "Text"))
    }</booking>
};

<results kind="booking" currency="{ $currency }">{
  let $start := if ($opening-balance = "") then 0.0 else xs:decimal($opening-balance)
  let $accounts := ev:records($evidence, "book", "Account")
  for $booking in ev:records($evidence, "book", "Booking")
  where exists(ev:field($booking, "Units"))
  group by $account := string($booking/field[@name = "AccountId"]/@ref)
  order by $account
  return
    <account id="{ $account }" name="{ ev:field($accounts[@id = $account][1], 'Name') }">{
      local:bookings(ev:sorted($booking, "Booked"), $start)
    }</account>,
  for $old in ev:records($evidence, "card_copy", "booking")
  return
    <old-booking id="{ $old/@id }">{ ev:origin($old), ev:field($old, "units") }</old-booking>
}</results>
